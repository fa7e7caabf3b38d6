// Diagnostic traces, on standard error.
#ifndef PLATFORM_TRACE_TRACE_H
#define PLATFORM_TRACE_TRACE_H

/// Mask of the trace events that are on; 0 at start. The tool's own traces are on while
/// traceDebugEvent is set.
extern unsigned int trcEvents;

/// The bit of `trcEvents` that stands for the tool's own traces.
constexpr unsigned int traceDebugEvent = 0x4000000U;

/// Trace levels: what the run does, and what went wrong.
constexpr unsigned int traceProgress = 0xc8010000U;
constexpr unsigned int traceError = 0xc8110000U;

/// Prepares the traces; called once, before the first of them. Makes standard error line-buffered,
/// so that each trace is written in one piece. Leaves `trcEvents` as it is.
void ldtr_init();

namespace ldtr_formater_global {

/// Writes one line to standard error: `level` in hexadecimal, a blank, the formatted text. A line
/// end is added where `format` brings none. It does not look at `trcEvents`: the caller does,
/// before it builds the arguments (TRACE below).
void debug(unsigned int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

}  // namespace ldtr_formater_global

/// Traces if the tool's own traces are on; if they are not, the arguments are not evaluated.
#define TRACE(level, ...)                                \
  do {                                                   \
    if ((trcEvents & traceDebugEvent) != 0) {            \
      ldtr_formater_global::debug((level), __VA_ARGS__); \
    }                                                    \
  } while (false)

#endif
