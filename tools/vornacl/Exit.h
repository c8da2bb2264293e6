// How a run ends.
#pragma once

#include <stdexcept>
#include <string>

namespace Tools {

/// The status of the process. Documented in the help and in docs/vornacl.md.
enum class Exit : int {
  done = 0,
  differs = 1,       ///< two things differ, or a condition does not hold
  usage = 2,         ///< wrong arguments
  noConnection = 3,  ///< a peer cannot be reached
  badData = 4,       ///< data cannot be read; the message tells the place
  timeout = 5,
  notFound = 6,     ///< a file, a type or an object that is not there
  cannotWrite = 7,  ///< results could not be written
  failed = 8,       ///< anything else, as a lack of memory
};

/// Ends the run with a status and a message.
class Failure : public std::runtime_error {
 public:
  Failure(Exit exit, std::string const& message) : runtime_error(message), exit_(exit) {}
  Exit exit() const { return exit_; }

 private:
  Exit exit_;
};

}  // namespace Tools
