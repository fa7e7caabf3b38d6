#include "admin/LookedAtFiles.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "common/SystemFailure.h"
#include "config/VarnelConfigException.h"
#include "config/configErrors.h"
#include "config/configKeys.h"
#include "platform/files/files.h"
#include "platform/messages/PrintMessage.h"

namespace {

std::string directoryOf(const std::string& name) {
  const std::string::size_type slash = name.rfind('/');
  if (slash == std::string::npos) {
    return ".";
  }
  return slash == 0 ? "/" : name.substr(0, slash);
}

/// Whether the file exists and can be written, or could be created.
bool canBeWritten(const std::string& name, bool exists) {
  return exists ? ::access(name.c_str(), W_OK) == 0
                : ::access(directoryOf(name).c_str(), W_OK | X_OK) == 0;
}

}  // namespace

/// What each file has to pass; a file that passes is one of the run's from there on.
void LookedAtFiles::look(const std::string& name, FileRole role, const std::string& key, int line) {
  const bool exists = doesFileExist(name.c_str()) != 0;
  if (role == FileRole::input ? !exists : !canBeWritten(name, exists)) {
    noteSystemFailure(name);
    throwUnableToOpenFileError(name, line);
  }
  if (files_.isTaken(name, role)) {
    throwIllegalValueError(key, name, line);
  }
  files_.add(name, role);
  uses_.push_back({name, role, line, exists});
}

void LookedAtFiles::requireDirectory(const std::string& directory, int line) {
  errno = 0;  // there is a reason only where nothing of that name can be found
  if (isDirectory(directory.c_str()) == 0) {
    noteSystemFailure(directory);
    PrintMessage(32, 1, 13, directory.c_str());
    throw VarnelConfigException(line, directory);
  }
}

void LookedAtFiles::requireInputFile(const std::string& name, int line) {
  look(name, FileRole::input, inputFileKey, line);
}

void LookedAtFiles::prepareOutputFile(const std::string& name, int line) {
  look(name, FileRole::output, outputFileKey, line);
}

void LookedAtFiles::prepareServerFile(const std::string& name, int line) {
  look(name, FileRole::output, fileKey, line);
}

void LookedAtFiles::prepareDefaultOutputFile(const std::string& name) {
  look(name, FileRole::output, outputFileKey, 0);
}

void LookedAtFiles::prepareLogFile(const std::string& name, int line) {
  look(name, FileRole::log, logFileKey, line);
}

void LookedAtFiles::tryLogFile(const std::string& name) {
  const bool isKnown = std::any_of(uses_.begin(), uses_.end(), [&](const Use& use) {
    return use.role == FileRole::log && use.name == name;
  });
  if (!isKnown) {
    look(name, FileRole::log, logFileKey, 0);
  }
}
