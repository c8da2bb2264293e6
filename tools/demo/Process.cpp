#include "tools/demo/Process.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include <sys/prctl.h>
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
[[noreturn]] void execute(char const* program, char* const* arguments, std::vector<int> const& kept, int output,
                          pid_t parent) {
  // The parent may be gone before it was asked to take this process along.
  bool good = prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && getppid() == parent;
  for (int const number : kept) {
    good = good && fcntl(number, F_SETFD, 0) == 0;
  }
  if (good && (output < 0 || dup2(output, STDOUT_FILENO) == STDOUT_FILENO)) {
    execv(program, arguments);
  }
  _exit(127);
}

}  // namespace

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

ChildProcess::ChildProcess(std::string const& program, std::vector<std::string> arguments, std::vector<int> const& kept,
                           int output) {
  std::string name = "vornacl-demo";
  std::vector<char*> pointers{name.data()};
  for (std::string& argument : arguments) {
    pointers.push_back(argument.data());
  }
  pointers.push_back(nullptr);
  pid_t const parent = getpid();
  id_ = fork();
  check(id_ >= 0, "cannot start another process");
  if (id_ == 0) {
    execute(program.c_str(), pointers.data(), kept, output, parent);
  }
}

ChildProcess::~ChildProcess() { kill(); }

void ChildProcess::stop() {
  check(::kill(id_, SIGSTOP) == 0, "cannot stop the other process");
  while (waitpid(id_, nullptr, WUNTRACED) < 0) {
    check(errno == EINTR, "cannot wait for the other process");
  }
}

void ChildProcess::resume() { check(::kill(id_, SIGCONT) == 0, "cannot resume the other process"); }

void ChildProcess::kill() {
  if (id_ > 0) {
    ::kill(id_, SIGKILL);
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
