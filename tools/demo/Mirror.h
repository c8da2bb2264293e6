// The process that rebuilds the tree from nothing but the stream.
#pragma once

#include <string>
#include <vector>

namespace Demo {

/// What a mirror does when the stream has ended.
enum class MirrorTask {
  dump,          ///< write the dump to its file, and what it counted to standard output
  plantAndDump,  ///< the same after altering one rule, so that the comparison has something to find
  printRules,    ///< print the canonical lines
};

/// What a mirror process is started with.
struct MirrorOptions {
  MirrorTask task = MirrorTask::dump;
  /// The connected socket; -1 where this process is no mirror.
  int socket = -1;
  /// The file for the dump.
  int file = -1;

  /// As arguments for the program, and the option names of those.
  std::vector<std::string> arguments() const;
  static constexpr char const* socketName = "--mirror-socket";
  static constexpr char const* fileName = "--mirror-file";
  static constexpr char const* plantName = "--plant-difference";
  static constexpr char const* rulesName = "--rules";
};

/// Follows the stream until it ends, then does its task. What it counted are the numbers of rules, of ACLs and of chips
/// that it holds, and of the changes that its observers were told of while it was in sync. Throws `std::runtime_error`
/// where the connection is lost or the stream ends before the mirror was in sync.
void runMirror(MirrorOptions const& options);

}  // namespace Demo
