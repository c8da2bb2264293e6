// A mirror as the source sees it: another process and the stream to it.
#pragma once

#include <initializer_list>
#include <string>

#include "tools/demo/Files.h"
#include "tools/demo/Mirror.h"
#include "tools/demo/Process.h"
#include "tools/demo/Pump.h"
#include "tools/demo/Tree.h"

namespace Demo {

/// A process that holds a copy of a tree, empty at first, and the connection that fills it.
class Peer {
 public:
  /// Starts the process and attaches the tree; nothing is sent yet. Throws `std::system_error`.
  Peer(Tree const& tree, MirrorTask task, std::string const& program = ChildProcess::thisProgram);

  Pump& pump() { return pump_; }
  ChildProcess& process() { return process_; }
  Kro::NboAttrLog::Connection& connection() { return pump_.connection(); }

  /// Ends the process at once, and the connection when the socket tells of it.
  void kill();
  /// Says that nothing follows.
  void finish() { pump_.finish(); }
  /// Waits for the process to end by itself. Returns what it wrote to standard output unless it prints rules. Throws
  /// `std::runtime_error` where it failed.
  std::string result();
  /// What the process has written to its file; complete behind `result`.
  std::string dump() const { return file_.text(); }

  /// Sends everything that waits to all of these. Throws `std::runtime_error` where one has gone or does not answer.
  static void drain(std::initializer_list<Peer*> peers);

 private:
  Peer(Tree const& tree, MirrorTask task, std::string const& program, DescriptorPair sockets, DescriptorPair pipe);

  UnnamedFile file_;
  FileDescriptor output_;
  ChildProcess process_;
  Pump pump_;
};

}  // namespace Demo
