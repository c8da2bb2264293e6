// Runs the programs as a shell would.
#pragma once

#include <cstdlib>
#include <string>

#include <sys/wait.h>

#include "tools/demo/Files.h"

struct ProgramResult {
  int status = -1;
  std::string output, messages;
};

/// Runs a program of this build through the shell.
inline ProgramResult runProgram(std::string const& program, std::string const& arguments) {
  Demo::TemporaryFolder const folder;
  std::string const out = folder.path() / "out";
  std::string const err = folder.path() / "err";
  std::string command("(" VORNACL_BIN_DIR "/");
  command.append(program).append(" ").append(arguments).append(") >").append(out).append(" 2>").append(err);
  int const status = std::system(command.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Tools::readFile(out), Tools::readFile(err)};
}
