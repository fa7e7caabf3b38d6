// Prepares the process for a run: its standard streams, its signals, the mode of the files that it
// creates, its limit of open files.
#ifndef DRIVER_PREPAREPROCESS_H
#define DRIVER_PREPAREPROCESS_H

#include <cstddef>

/// Makes the process safe to write files from: standard streams that are closed are opened on
/// /dev/null, so that no output file takes their place and receives messages; a closed pipe and the
/// file size limit become failed writes instead of signals. Files that are created from here on are
/// for their owner alone, whatever the umask was: an export holds hashes of passwords.
void prepareProcess();

/// Raises the limit of open files as far as it may be. Prints message 61 where not so many more
/// files can be open at a time; none is opened to find out.
void warnOfTooManyFiles(std::size_t count);

#endif
