#include "config/FileIdentities.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

namespace {

/// False where there is no regular file of that name, with errno 0, and where the system does not
/// tell, with its reason there.
bool identify(const std::string& name, std::pair<dev_t, ino_t>& identity) {
  struct stat status {};
  errno = 0;
  if (::stat(name.c_str(), &status) != 0) {
    if (errno == ENOENT || errno == ENOTDIR) {
      errno = 0;
    }
    return false;
  }
  if (!S_ISREG(status.st_mode)) {
    return false;
  }
  identity = {status.st_dev, status.st_ino};
  return true;
}

bool isOnlyRead(FileRole role) {
  return role == FileRole::configuration || role == FileRole::input;
}

}  // namespace

bool FileIdentities::add(const std::string& name, FileRole role) {
  Identity identity;
  if (!identify(name, identity)) {
    return errno == 0;
  }
  std::vector<Use>& uses = uses_[identity];
  const bool isKnown = std::any_of(uses.begin(), uses.end(), [&](const Use& use) {
    return use.role == role && use.name == name;
  });
  if (!isKnown) {
    uses.push_back({name, role});
  }
  return true;
}

bool FileIdentities::isTaken(const std::string& name, FileRole role) const {
  Identity identity;
  if (!identify(name, identity)) {
    return errno != 0;
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
