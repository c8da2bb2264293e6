// The process that rebuilds the ACLs from nothing but the stream.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace Demo {

/// What a mirror process is started with.
struct MirrorOptions {
  /// The connected socket.
  int socket = -1;
  /// Where to write the dump; without it the canonical lines go to standard output.
  std::optional<std::string> dump;
  /// Alters one rule behind the end of the stream, so that the comparison has something to find.
  bool plant = false;

  /// As arguments for the program, and the option names of those.
  std::vector<std::string> arguments() const;
  static constexpr char const* socketName = "--mirror-socket";
  static constexpr char const* dumpName = "--mirror-dump";
  static constexpr char const* plantName = "--plant-difference";
};

/// Follows the stream until it ends. Then writes the dump, and to standard output the numbers of rules, of ACLs and of
/// the changes that its observers were told of while it was in sync; or the canonical lines. Throws
/// `std::runtime_error` where the connection is lost or the stream ends before the mirror was in sync.
void runMirror(MirrorOptions const& options);

}  // namespace Demo
