#include "driver/findLastLineSplit.h"

#include <fstream>

#include "platform/text/number.h"
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
  const int lastLine = text::leadingInt(last);
  TRACE(traceProgress, "recovery mode: last line split was %d\n", lastLine);
  return lastLine;
}
