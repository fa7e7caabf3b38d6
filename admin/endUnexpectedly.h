// The end of a process that nobody can go on with.
#ifndef ADMIN_ENDUNEXPECTEDLY_H
#define ADMIN_ENDUNEXPECTEDLY_H

/// For a terminate handler: says on standard error that memory ran out or, of any other exception,
/// that the failure is unexpected, with `addition` behind that, and ends the process at once with
/// ExitStatus::systemFailed. An exception that the engine of a split does not pass on comes here,
/// and so does one that leaves a thread.
[[noreturn]] void endUnexpectedly(const char* addition);

#endif
