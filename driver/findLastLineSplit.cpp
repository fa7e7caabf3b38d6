#include "driver/findLastLineSplit.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <fstream>

#include "platform/trace/trace.h"

int findLastLineSplit(std::string logFile) {
  std::ifstream log(logFile);
  if (!log) {
    TRACE(traceProgress, "Warning:  recovery mode selected but logfile %s cannot be read\n",
          logFile.c_str());
  }
  std::string last;
  for (std::string line; std::getline(log, line);) {
    last = line;
  }
  const long number = std::strtol(last.c_str(), nullptr, 10);
  const int lastLine = static_cast<int>(std::max(long{INT_MIN}, std::min(number, long{INT_MAX})));
  TRACE(traceProgress, "recovery mode: last line split was %d\n", lastLine);
  return lastLine;
}
