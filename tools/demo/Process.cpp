#include "tools/demo/Process.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include <sys/socket.h>
#include <sys/wait.h>

namespace Demo {

namespace {

void check(bool good, char const* what) {
  if (!good) {
    throw std::system_error(errno, std::generic_category(), what);
  }
}

/// In the new process, before the program is executed: only what is safe after a fork.
[[noreturn]] void execute(char* const* arguments, int kept, int output) {
  if (fcntl(kept, F_SETFD, 0) == 0 && (output < 0 || dup2(output, STDOUT_FILENO) == STDOUT_FILENO)) {
    execv("/proc/self/exe", arguments);
  }
  _exit(127);
}

}  // namespace

void FileDescriptor::close() {
  if (number_ >= 0) {
    ::close(std::exchange(number_, -1));
  }
}

DescriptorPair socketPair() {
  int ends[2];
  check(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0, "cannot make a pair of sockets");
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

DescriptorPair newPipe() {
  int ends[2];
  check(pipe2(ends, O_CLOEXEC) == 0, "cannot make a pipe");
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

ChildProcess::ChildProcess(std::vector<std::string> arguments, int kept, int output) {
  std::string name = "vornacl-demo";
  std::vector<char*> pointers{name.data()};
  for (std::string& argument : arguments) {
    pointers.push_back(argument.data());
  }
  pointers.push_back(nullptr);
  id_ = fork();
  check(id_ >= 0, "cannot start another process");
  if (id_ == 0) {
    execute(pointers.data(), kept, output);
  }
}

ChildProcess::~ChildProcess() {
  if (id_ > 0) {
    kill(id_, SIGKILL);
    succeeded();
  }
}

bool ChildProcess::succeeded() {
  int status = 0;
  while (waitpid(id_, &status, 0) < 0 && errno == EINTR) {
  }
  id_ = -1;
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace Demo
