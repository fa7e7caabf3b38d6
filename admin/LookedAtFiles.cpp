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

/// Whether it can be read or, of the other roles, written; it could be created where it is missing.
/// The reason is in errno.
bool canBeUsed(const std::string& name, FileRole role, FileKind kind) {
  if (kind == FileKind::directory) {
    errno = EISDIR;
    return false;
  }
  if (role == FileRole::input) {
    return ::access(name.c_str(), R_OK) == 0;
  }
  return kind == FileKind::missing
             ? ::access(directoryOf(behindLinks(name)).c_str(), W_OK | X_OK) == 0
             : ::access(name.c_str(), W_OK) == 0;
}

}  // namespace

/// What each file has to pass; a file that passes is one of the run's from there on.
void LookedAtFiles::look(const std::string& name, FileRole role, const std::string& key, int line) {
  const FileKind kind = kindOf(name);
  if (errno != 0 || !canBeUsed(name, role, kind)) {
    noteSystemFailure(name);
    throwUnableToOpenFileError(name, line);
  }
  if (files_.isTaken(name, role)) {
    if (errno != 0) {
      noteSystemFailure(name);
      throwUnableToOpenFileError(name, line);
    }
    throwIllegalValueError(key, name, line);
  }
  if (kind == FileKind::missing && willBeTaken(name, role)) {
    throwIllegalValueError(key, name, line);
  }
  add(name, role);
  note(name, role, line);
}

void LookedAtFiles::note(const std::string& name, FileRole role, int line) {
  const FileKind kind = kindOf(name);
  uses_.push_back({name, role, line, kind != FileKind::missing, kind});
}

/// Of a file that is yet to be created: whether another one of the run would be it. One name may
/// stand for several outputs.
bool LookedAtFiles::willBeTaken(const std::string& name, FileRole role) const {
  const FilePlace place(name);
  return std::any_of(known_.begin(), known_.end(), [&](const Known& known) {
    return (known.role != role || known.name != name) && known.place == place;
  });
}

std::string LookedAtFiles::earlierNameOf(const std::string& name) const {
  const FilePlace place(name);
  const auto found = std::find_if(known_.begin(), known_.end(),
                                  [&](const Known& known) { return known.place == place; });
  return found != known_.end() ? found->name : "";
}

bool LookedAtFiles::add(const std::string& name, FileRole role) {
  known_.push_back({name, role, FilePlace(name)});
  return files_.add(name, role);
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
