// Prepares the process for a run: its standard streams, its signals, its limit of open files.
#ifndef DRIVER_PREPAREPROCESS_H
#define DRIVER_PREPAREPROCESS_H

#include <cstddef>

/// Makes the process safe to write files from: standard streams that are closed are opened on
/// /dev/null, so that no output file takes their place and receives messages; a closed pipe and the
/// file size limit become failed writes instead of signals.
void prepareProcess();

/// Whether `count` more files can be open at a time, after the limit was raised as far as it may
/// be. If not, prints message 61.
bool canOpenFiles(std::size_t count);

#endif
