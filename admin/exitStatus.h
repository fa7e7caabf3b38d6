// How varnelctl ends.
#ifndef ADMIN_EXITSTATUS_H
#define ADMIN_EXITSTATUS_H

#include <stdexcept>
#include <string>

/// The exit status of every verb.
enum class ExitStatus {
  good = 0,
  wrong = 1,         ///< something is wrong with what was looked at: differences, a configuration
  misuse = 2,        ///< the command line
  systemFailed = 3,  ///< input or output, memory
};

/// The system failed: what() says at what, and why. main() prints it and ends with that status.
class SystemError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;

  /// "WHAT: the text of errno"; to be called directly behind the call that failed.
  static SystemError of(const std::string& what);
};

#endif
