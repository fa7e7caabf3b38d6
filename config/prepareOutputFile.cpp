#include "config/prepareOutputFile.h"

#include <cerrno>
#include <cstdio>

#include "common/SystemFailure.h"
#include "config/VarnelConfigException.h"
#include "config/configErrors.h"
#include "config/configKeys.h"
#include "ldifsplit/openNewLdif.h"
#include "platform/files/files.h"
#include "platform/messages/PrintMessage.h"

namespace {

/// To be called directly behind the call that failed.
[[noreturn]] void throwUnableToOpen(const std::string& name, int line) {
  noteSystemFailure(name);
  throwUnableToOpenFileError(name, line);
}

/// The same.
[[noreturn]] void throwWriteFailure(const std::string& name, int line) {
  noteSystemFailure(name);
  throwFileWriteException<VarnelConfigException>(name, line);
}

void requireFileOfRun(const std::string& name, bool recovery, int line) {
  const bool exists = doesFileExist(name.c_str()) != 0;
  if (recovery && !exists) {
    throwUnableToOpen(name, line);
  }
  if (!recovery && exists) {
    throwFileExistsError(name, line);
  }
}

/// The system does not tell which file the name is: it might be one whose content would be lost.
[[noreturn]] void throwUntold(const std::string& name, FileRole role, int line) {
  if (role == FileRole::log) {
    throwWriteFailure(name, line);
  }
  throwUnableToOpen(name, line);
}

void remember(const std::string& name, FileRole role, FileIdentities& files, int line) {
  if (!files.add(name, role)) {
    throwUntold(name, role, line);
  }
}

void requireFree(const std::string& name, FileRole role, const std::string& key,
                 const FileIdentities& files, int line) {
  if (files.isTaken(name, role)) {
    if (errno != 0) {
      throwUntold(name, role, line);
    }
    throwIllegalValueError(key, name, line);
  }
}

void prepareOutput(const std::string& name, const std::string& key, bool recovery,
                   FileIdentities& files, int line) {
  requireFileOfRun(name, recovery, line);
  requireFree(name, FileRole::output, key, files, line);
  if (!recovery && clearFile(name.c_str()) == 0) {
    throwUnableToOpen(name, line);
  }
  remember(name, FileRole::output, files, line);
}

}  // namespace

void requireDirectory(const std::string& directory, int line) {
  errno = 0;  // there is a reason only where nothing of that name can be found
  if (isDirectory(directory.c_str()) == 0) {
    noteSystemFailure(directory);
    PrintMessage(32, 1, 13, directory.c_str());
    throwFileWriteException<VarnelConfigException>(directory, line);
  }
}

void requireInputFile(const std::string& name, FileIdentities& files, int line) {
  if (doesFileExist(name.c_str()) == 0) {
    throwUnableToOpen(name, line);
  }
  requireFree(name, FileRole::input, inputFileKey, files, line);
  remember(name, FileRole::input, files, line);
}

void prepareOutputFile(const std::string& name, bool recovery, FileIdentities& files, int line) {
  prepareOutput(name, outputFileKey, recovery, files, line);
}

void prepareServerFile(const std::string& name, bool recovery, FileIdentities& files, int line) {
  prepareOutput(name, fileKey, recovery, files, line);
  // Where this fails the split will say so, once an entry goes to the file.
  const AutoClose emptied(std::fopen(name.c_str(), "w"));
}

void prepareDefaultOutputFile(const std::string& name, bool recovery, FileIdentities& files) {
  requireFileOfRun(name, recovery, 0);
  requireFree(name, FileRole::output, outputFileKey, files, 0);
  if (!recovery) {
    std::FILE* file = openNewLdif<VarnelConfigException>(name.c_str());
    if (std::fclose(file) != 0) {
      throwWriteFailure(name, 0);
    }
  }
  remember(name, FileRole::output, files, 0);
}

void prepareLogFile(const std::string& name, bool recovery, FileIdentities& files, int line) {
  if (doesFileExist(name.c_str()) == 0) {
    if (recovery) {
      throwWriteFailure(name, line);
    }
    if (clearFile(name.c_str()) == 0) {
      return;
    }
  }
  requireFree(name, FileRole::log, logFileKey, files, line);
  remember(name, FileRole::log, files, line);
}

AutoClose openLogFile(const std::string& name, const FileIdentities& files) {
  requireFree(name, FileRole::log, logFileKey, files, 0);
  AutoClose log(std::fopen(name.c_str(), "a"));
  if (log == nullptr) {
    throwWriteFailure(name, 0);
  }
  return log;
}
