#ifndef DRIVER_FINDLASTLINESPLIT_H
#define DRIVER_FINDLASTLINESPLIT_H

#include <string>

/// The input line number at which the previous run stopped: the number on the last line of the log
/// file; 0 where that line does not begin with one, and for a file that is empty or cannot be read.
int findLastLineSplit(std::string logFile);

#endif
