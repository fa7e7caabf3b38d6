#include "config/FileIdentities.h"

#include <sys/stat.h>

#include <algorithm>

namespace {

/// False where there is no regular file of that name.
bool identify(const std::string& name, std::pair<dev_t, ino_t>& identity) {
  struct stat status {};
  if (::stat(name.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return false;
  }
  identity = {status.st_dev, status.st_ino};
  return true;
}

bool isOnlyRead(FileRole role) {
  return role == FileRole::configuration || role == FileRole::input;
}

}  // namespace

void FileIdentities::add(const std::string& name, FileRole role) {
  Identity identity;
  if (!identify(name, identity)) {
    return;
  }
  std::vector<Use>& uses = uses_[identity];
  const bool isKnown = std::any_of(uses.begin(), uses.end(), [&](const Use& use) {
    return use.role == role && use.name == name;
  });
  if (!isKnown) {
    uses.push_back({name, role});
  }
}

bool FileIdentities::isTaken(const std::string& name, FileRole role) const {
  Identity identity;
  if (!identify(name, identity)) {
    return false;
  }
  const auto found = uses_.find(identity);
  if (found == uses_.end()) {
    return false;
  }
  return std::any_of(found->second.begin(), found->second.end(), [&](const Use& use) {
    return use.role == role ? role == FileRole::output && use.name != name
                            : !isOnlyRead(use.role) || !isOnlyRead(role);
  });
}
