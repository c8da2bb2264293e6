#include "tools/vornacl/net/Address.h"

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <system_error>

#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "tools/vornacl/Exit.h"

namespace Tools {

namespace {

[[noreturn]] void fail(Address const& address, std::string const& what, std::string const& why) {
  throw Failure(Exit::noConnection, address.text + ": " + what + ": " + why);
}
[[noreturn]] void fail(Address const& address, std::string const& what, int error) {
  fail(address, what, std::generic_category().message(error));
}

/// The address as the system takes it.
struct SocketName {
  sockaddr_storage storage{};
  socklen_t length = 0;

  int family() const { return storage.ss_family; }
  sockaddr const* get() const { return reinterpret_cast<sockaddr const*>(&storage); }
};

SocketName nameOf(Address const& address) {
  SocketName name;
  if (!address.path.empty()) {
    sockaddr_un local{};
    local.sun_family = AF_UNIX;
    std::memcpy(local.sun_path, address.path.c_str(), address.path.size());  // its end is there: `of` has checked
    std::memcpy(&name.storage, &local, sizeof local);
    name.length = sizeof local;
    return name;
  }
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (int const error = getaddrinfo(address.host.c_str(), address.port.c_str(), &hints, &found); error != 0) {
    fail(address, "cannot be found", gai_strerror(error));
  }
  std::unique_ptr<addrinfo, void (*)(addrinfo*)> const held(found, freeaddrinfo);
  std::memcpy(&name.storage, found->ai_addr, found->ai_addrlen);
  name.length = found->ai_addrlen;
  return name;
}

/// What is small goes at once: it is an answer, or a change.
void sendAtOnce(int socket, int family) {
  int const on = 1;
  if (family != AF_UNIX) {
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  }
}

FileDescriptor newSocket(Address const& address, SocketName const& name) {
  FileDescriptor socket(::socket(name.family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (socket.number() < 0) {
    fail(address, "cannot make a socket", errno);
  }
  sendAtOnce(socket.number(), name.family());
  return socket;
}

/// 0, or why there is no connection.
int connectError(int socket, SocketName const& name, std::chrono::milliseconds patience) {
  if (connect(socket, name.get(), name.length) == 0) {
    return 0;
  }
  if (errno != EINPROGRESS) {
    return errno;
  }
  pollfd event{socket, POLLOUT, 0};
  if (poll(&event, 1, static_cast<int>(patience.count())) == 0) {
    return ETIMEDOUT;
  }
  int error = 0;
  socklen_t length = sizeof error;
  getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &length);
  return error;
}

}  // namespace

Address Address::of(std::string const& text) {
  Address address{text, {}, {}, {}};
  if (text.starts_with("unix:")) {
    address.path = text.substr(5);
    if (!address.path.empty() && address.path.size() < sizeof(sockaddr_un::sun_path)) {
      return address;
    }
    throw Failure(Exit::usage, text + ": expected a path of up to " +
                                   std::to_string(sizeof(sockaddr_un::sun_path) - 1) + " bytes behind \"unix:\"");
  }
  std::size_t const colon = text.rfind(':');
  if (text.starts_with("tcp:") && colon > 4 && colon + 1 < text.size()) {
    address.host = text.substr(4, colon - 4);
    address.port = text.substr(colon + 1);
    if (address.host.starts_with('[') && address.host.ends_with(']')) {
      address.host = address.host.substr(1, address.host.size() - 2);
    }
    return address;
  }
  throw Failure(Exit::usage, text + ": expected unix:PATH or tcp:HOST:PORT");
}

FileDescriptor connectTo(Address const& address, std::chrono::milliseconds patience) {
  SocketName const name = nameOf(address);
  FileDescriptor socket = newSocket(address, name);
  int const error = connectError(socket.number(), name, patience);
  if (error == ETIMEDOUT) {
    throw Failure(Exit::timeout, address.text + ": nobody answers");
  }
  if (error != 0) {
    fail(address, "cannot connect", error);
  }
  return socket;
}

Listener::Listener(Address const& address) : address_(address) {
  SocketName const name = nameOf(address);
  socket_ = newSocket(address, name);
  int const on = 1;
  setsockopt(socket_.number(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  int error = bind(socket_.number(), name.get(), name.length) == 0 ? 0 : errno;
  if (error == EADDRINUSE && !address.path.empty() &&
      connectError(newSocket(address, name).number(), name, std::chrono::seconds(1)) == ECONNREFUSED) {
    unlink(address.path.c_str());
    error = bind(socket_.number(), name.get(), name.length) == 0 ? 0 : errno;
  }
  if (error == 0 && listen(socket_.number(), SOMAXCONN) != 0) {
    error = errno;
  }
  if (error != 0) {
    address_.path.clear();  // the file is another one's
    fail(address, "cannot listen", error);
  }
}

Listener::~Listener() {
  if (!address_.path.empty()) {
    unlink(address_.path.c_str());
  }
}

std::string Listener::text() const {
  sockaddr_storage name{};
  socklen_t length = sizeof name;
  char port[NI_MAXSERV] = "";
  auto* const generic = reinterpret_cast<sockaddr*>(&name);
  if (!address_.path.empty() || getsockname(socket_.number(), generic, &length) != 0 ||
      getnameinfo(generic, length, nullptr, 0, port, sizeof port, NI_NUMERICSERV) != 0) {
    return address_.text;
  }
  return address_.text.substr(0, address_.text.rfind(':') + 1) + port;
}

FileDescriptor Listener::accept() const {
  FileDescriptor socket(accept4(socket_.number(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
  // One that has gone meanwhile is none; and without descriptors the others must go on.
  bool const isNone = errno == EAGAIN || errno == ECONNABORTED || errno == EINTR || errno == EMFILE || errno == ENFILE;
  if (socket.number() < 0 && !isNone) {
    throw std::system_error(errno, std::generic_category(), address_.text + ": cannot take a connection");
  }
  if (socket.number() >= 0) {
    sendAtOnce(socket.number(), address_.path.empty() ? AF_INET : AF_UNIX);
  }
  return socket;
}

}  // namespace Tools
