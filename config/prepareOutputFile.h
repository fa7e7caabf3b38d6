// What becomes of the files and directories that the configuration names: they are tested, created
// or emptied while it is read. Nothing else in this folder touches them.
//
// `line` is the line of the configuration that names the file, 0 where it names none: the file has
// its default name. Every fault throws VarnelConfigException with that line; a message is printed
// first where it is named below. Where the system has a reason, noteSystemFailure() has it. What
// was created or emptied before a fault stays so.
//
// `files` are those of the run so far. A file that cannot have its role beside them is an illegal
// value, message 6: it is neither emptied nor opened. This comes behind the function's other tests,
// and a file that passes is one of the run's from there on.
//
// Recovery mode (`recovery`) repeats a run over the files that an earlier one left.
#ifndef CONFIG_PREPAREOUTPUTFILE_H
#define CONFIG_PREPAREOUTPUTFILE_H

#include <string>

#include "common/AutoClose.h"
#include "config/FileIdentities.h"

/// A directory where file names are looked up: it must exist. Message 13.
void requireDirectory(const std::string& directory, int line);

/// The input must exist. Message 7.
void requireInputFile(const std::string& name, FileIdentities& files, int line);

/// The default output file: it must not exist, and is created empty. In recovery mode it must
/// exist, and is left as it is. Messages 8 and 7.
void prepareOutputFile(const std::string& name, bool recovery, FileIdentities& files, int line);

/// The output file of a server: the same, but in recovery mode too it is then empty.
void prepareServerFile(const std::string& name, bool recovery, FileIdentities& files, int line);

/// The default output file under its default name: the same as under another, but it is created
/// with the header of an LDIF file in it. Messages 8 and 7; none where it cannot be written.
void prepareDefaultOutputFile(const std::string& name, bool recovery, FileIdentities& files);

/// The log file: created empty where it does not exist, which in recovery mode is a fault. No
/// message. That it cannot be created is no fault yet: openLogFile finds out.
void prepareLogFile(const std::string& name, bool recovery, FileIdentities& files, int line);

/// Opens the log file for appending, and creates it where it does not exist. No message.
AutoClose openLogFile(const std::string& name, const FileIdentities& files);

#endif
