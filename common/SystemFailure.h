// Why the system refused what ends the run.
#ifndef COMMON_SYSTEMFAILURE_H
#define COMMON_SYSTEMFAILURE_H

#include <string>

/// The file that could not be opened, read or written, and what the system said about it.
struct SystemFailure {
  std::string file;
  std::string reason;  ///< empty where the system gave no reason
};

/// Keeps `file` and the text of errno, in place of what was noted before; errno 0 is no reason. The
/// exceptions of the tool have a line and a text and nothing else, and other calls may change errno
/// on their way to the handler. So whoever finds such a fault notes it, directly behind the call
/// that failed, and then throws; the handler tells the user. The note belongs to the process.
void noteSystemFailure(const std::string& file);

/// The last note; two empty texts where there is none. Where the exception at hand came of no call
/// to the system there is none: a run ends with its first exception, and every note precedes one.
const SystemFailure& notedSystemFailure();

#endif
