#include "testsupport/TracesOn.h"

#include "platform/trace/trace.h"

TracesOn::TracesOn() : before_(trcEvents) {
  trcEvents |= traceDebugEvent;
}

TracesOn::~TracesOn() {
  trcEvents = before_;
}
