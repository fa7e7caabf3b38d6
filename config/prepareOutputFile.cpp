#include "config/prepareOutputFile.h"

#include <cstdio>

#include "config/VarnelConfigException.h"
#include "config/configErrors.h"
#include "ldifsplit/openNewLdif.h"
#include "platform/files/files.h"
#include "platform/messages/PrintMessage.h"

namespace {

void requireFileOfRun(const std::string& name, bool recovery, int line) {
  const bool exists = doesFileExist(name.c_str()) != 0;
  if (recovery && !exists) {
    throwUnableToOpenFileError(name, line);
  }
  if (!recovery && exists) {
    throwFileExistsError(name, line);
  }
}

}  // namespace

void requireDirectory(const std::string& directory, int line) {
  if (isDirectory(directory.c_str()) == 0) {
    PrintMessage(32, 1, 13, directory.c_str());
    throwFileWriteException<VarnelConfigException>(directory, line);
  }
}

void requireInputFile(const std::string& name, int line) {
  if (doesFileExist(name.c_str()) == 0) {
    throwUnableToOpenFileError(name, line);
  }
}

void prepareOutputFile(const std::string& name, bool recovery, int line) {
  requireFileOfRun(name, recovery, line);
  if (!recovery && clearFile(name.c_str()) == 0) {
    throwUnableToOpenFileError(name, line);
  }
}

void prepareServerFile(const std::string& name, bool recovery, int line) {
  prepareOutputFile(name, recovery, line);
  // Where this fails the split will say so, once an entry goes to the file.
  const AutoClose emptied(std::fopen(name.c_str(), "w"));
}

void prepareDefaultOutputFile(const std::string& name, bool recovery) {
  requireFileOfRun(name, recovery, 0);
  if (!recovery) {
    std::FILE* file = openNewLdif<VarnelConfigException>(name.c_str());
    if (std::fclose(file) != 0) {
      throwFileWriteException<VarnelConfigException>(name, 0);
    }
  }
}

void prepareLogFile(const std::string& name, bool recovery, int line) {
  if (doesFileExist(name.c_str()) == 0) {
    if (recovery) {
      throwFileWriteException<VarnelConfigException>(name, line);
    }
    clearFile(name.c_str());
  }
}

AutoClose openLogFile(const std::string& name) {
  AutoClose log(std::fopen(name.c_str(), "a"));
  if (log == nullptr) {
    throwFileWriteException<VarnelConfigException>(name, 0);
  }
  return log;
}
