#include "platform/dirclient/ldap_debug.h"

#include <atomic>
#include <cstdio>
#include <string>

#include "platform/dirclient/dirclient.h"
#include "platform/text/escape.h"
#include "platform/trace/trace.h"

namespace {

std::atomic<int> debugLevel{0};

}  // namespace

int read_ldap_debug(void) {
  return debugLevel.load(std::memory_order_relaxed);
}

void write_ldap_debug(int level) {
  debugLevel.store(level, std::memory_order_relaxed);
  if ((level & dirclient::debugTool) != 0) {
    const std::atomic_ref<unsigned int> events(trcEvents);
    if ((events.load(std::memory_order_relaxed) & traceDebugEvent) == 0) {
      events.fetch_or(traceDebugEvent, std::memory_order_relaxed);
    }
  }
}

namespace dirclient {

bool debugging(DebugBit bit) {
  return (read_ldap_debug() & bit) != 0;
}

void debugLine(const char* what, std::string_view text) {
  std::string line = std::string("dirclient: ") + what + ": ";
  text::appendOnOneLine(text, line);
  line += '\n';
  static_cast<void>(std::fwrite(line.data(), 1, line.size(), stderr));
}

}  // namespace dirclient
