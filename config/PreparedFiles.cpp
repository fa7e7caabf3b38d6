#include "config/PreparedFiles.h"

#include <cerrno>
#include <cstdio>

#include "common/AutoClose.h"
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

/// The system does not tell which file the name is: it might be one whose content would be lost.
[[noreturn]] void throwUntold(const std::string& name, FileRole role, int line) {
  if (role == FileRole::log) {
    throwWriteFailure(name, line);
  }
  throwUnableToOpen(name, line);
}

}  // namespace

void PreparedFiles::requireFileOfRun(const std::string& name, int line) const {
  const bool exists = doesFileExist(name.c_str()) != 0;
  if (recovery_ && !exists) {
    throwUnableToOpen(name, line);
  }
  if (!recovery_ && exists) {
    throwFileExistsError(name, line);
  }
}

void PreparedFiles::remember(const std::string& name, FileRole role, int line) {
  if (!files_.add(name, role)) {
    throwUntold(name, role, line);
  }
}

void PreparedFiles::requireFree(const std::string& name, FileRole role, const std::string& key,
                                int line) const {
  if (files_.isTaken(name, role)) {
    if (errno != 0) {
      throwUntold(name, role, line);
    }
    throwIllegalValueError(key, name, line);
  }
}

void PreparedFiles::requireDirectory(const std::string& directory, int line) {
  errno = 0;  // there is a reason only where nothing of that name can be found
  if (isDirectory(directory.c_str()) == 0) {
    noteSystemFailure(directory);
    PrintMessage(32, 1, 13, directory.c_str());
    throwFileWriteException<VarnelConfigException>(directory, line);
  }
}

void PreparedFiles::requireInputFile(const std::string& name, int line) {
  if (doesFileExist(name.c_str()) == 0) {
    throwUnableToOpen(name, line);
  }
  requireFree(name, FileRole::input, inputFileKey, line);
  remember(name, FileRole::input, line);
}

void PreparedFiles::prepareOutput(const std::string& name, const std::string& key, int line) {
  requireFileOfRun(name, line);
  requireFree(name, FileRole::output, key, line);
  if (!recovery_ && clearFile(name.c_str()) == 0) {
    throwUnableToOpen(name, line);
  }
  remember(name, FileRole::output, line);
}

void PreparedFiles::prepareOutputFile(const std::string& name, int line) {
  prepareOutput(name, outputFileKey, line);
}

void PreparedFiles::prepareServerFile(const std::string& name, int line) {
  prepareOutput(name, fileKey, line);
  // Where this fails the split will say so, once an entry goes to the file.
  const AutoClose emptied(std::fopen(name.c_str(), "w"));
}

void PreparedFiles::prepareDefaultOutputFile(const std::string& name) {
  requireFileOfRun(name, 0);
  requireFree(name, FileRole::output, outputFileKey, 0);
  if (!recovery_) {
    std::FILE* file = openNewLdif<VarnelConfigException>(name.c_str());
    if (std::fclose(file) != 0) {
      throwWriteFailure(name, 0);
    }
  }
  remember(name, FileRole::output, 0);
}

void PreparedFiles::prepareLogFile(const std::string& name, int line) {
  if (doesFileExist(name.c_str()) == 0) {
    if (recovery_) {
      throwWriteFailure(name, line);
    }
    if (clearFile(name.c_str()) == 0) {
      return;
    }
  }
  requireFree(name, FileRole::log, logFileKey, line);
  remember(name, FileRole::log, line);
}

void PreparedFiles::tryLogFile(const std::string& name) {
  requireFree(name, FileRole::log, logFileKey, 0);
  const AutoClose log(std::fopen(name.c_str(), "a"));
  if (log == nullptr) {
    throwWriteFailure(name, 0);
  }
}
