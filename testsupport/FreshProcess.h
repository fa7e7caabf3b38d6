// For the test of code that keeps state as long as its process lives: a new process for each call.
#ifndef TESTSUPPORT_FRESHPROCESS_H
#define TESTSUPPORT_FRESHPROCESS_H

#include <functional>

/// Runs `call` in a forked process. The expectations that fail there fail here, at their own file
/// and line; so does an exception that leaves the call, and a process that does not end by itself
/// with status 0. A failed ASSERT_ ends the function that it stands in.
void inFreshProcess(const std::function<void()>& call);

#endif
