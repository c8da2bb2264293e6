// record: writes down what a process sends.
#include <cerrno>
#include <system_error>

#include <sys/socket.h>

#include "tools/common/Files.h"
#include "tools/vornacl/Verbs.h"
#include "tools/vornacl/net/Signals.h"
#include "tools/vornacl/verbs/LiveOptions.h"

namespace Tools {

namespace {

struct RecordOptions : LiveOptions {
  std::string file;
  std::optional<double> duration;
};

/// A process as it is heard, and the file that gets what it says.
class Recorder {
 public:
  explicit Recorder(RecordOptions const& options)
      : address_(Address::of(options.address)),
        path_(options.file),
        socket_(connectTo(address_, options.patience())),
        file_(openFile(path_, "wb")) {}

  int number() const { return socket_.number(); }
  std::uint64_t messages() const { return connection_->stats().messagesReceived; }
  /// Takes what has come; false at the end of the stream.
  bool move() {
    std::uint8_t buffer[1 << 16];
    ssize_t length = recv(number(), buffer, sizeof buffer, 0);
    bool const isLater = length < 0 && (errno == EAGAIN || errno == EINTR);
    if (length > 0) {
      auto const bytes = std::span(buffer).first(static_cast<std::size_t>(length));
      write(bytes);
      // An end of its own says what a process waits for: the preface, and what was applied.
      connection_->receive(bytes);
    }
    if (connection_->state() == Connection::State::lost) {
      throw Failure(Exit::badData, address_.text + ": " + std::string(connection_->lastError().view()));
    }
    return (length > 0 || isLater) && answer();
  }
  /// Sends what it has to say, which is little; false where nobody hears it.
  bool answer() {
    auto const bytes = connection_->pending();
    ssize_t const length = send(number(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (length > 0) {
      connection_->sent(static_cast<std::size_t>(length));
    }
    return length >= 0 || errno == EAGAIN || errno == EINTR;
  }

 private:
  void write(std::span<std::uint8_t const> bytes) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size() || std::fflush(file_.get()) != 0) {
      throw Failure(Exit::cannotWrite, path_ + ": " + std::generic_category().message(errno));
    }
  }

  Address address_;
  std::string path_;
  FileDescriptor socket_;
  File file_;
  Kro::Ptr<Connection> connection_ = Connection::create(Connection::Role::opener);
};

Exit record(RecordOptions const& options) {
  using Clock = std::chrono::steady_clock;
  Recorder recorder(options);
  Signals signals;
  auto const end = Clock::now() + LiveOptions::patienceOf(options.duration.value_or(0));
  recorder.answer();
  bool isOpen = true;
  while (isOpen && !signals.isEnd() && (!options.duration || Clock::now() < end)) {
    std::vector<pollfd> events{{recorder.number(), POLLIN, 0}};
    std::optional<std::chrono::milliseconds> left;
    if (options.duration) {
      left = std::max(std::chrono::milliseconds(0), std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()));
    }
    signals.wait(events, left);
    isOpen = events[0].revents == 0 || recorder.move();
  }
  message(counted(recorder.messages(), "message") + " recorded");
  return isOpen ? Exit::done : Exit::noConnection;
}

}  // namespace

Run declareRecord(CLI::App& app) {
  auto const options = std::make_shared<RecordOptions>();
  options->declare(app);
  app.add_option("FILE", options->file, "Where to write it")->required();
  app.add_option("--for", options->duration, "End after so long, instead of at SIGTERM or SIGINT")
      ->type_name("SECONDS")
      ->check(CLI::Range(0.0, 1e9).description(""));
  app.footer("Status 3 if the process ends the stream before.");
  return [options](Output&) { return record(*options); };
}

}  // namespace Tools
