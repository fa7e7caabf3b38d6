#include "admin/storedName.h"

#include <sys/stat.h>

#include <cerrno>

#include "admin/exitStatus.h"

std::string storedName(const std::string& name) {
  for (const char* const ending : {"", ".gz", ".bz2", ".xz", ".zst"}) {
    std::string stored = name + ending;
    struct stat status {};
    if (::stat(stored.c_str(), &status) == 0) {
      return stored;
    }
    // With an ending a name may be too long for any file.
    if (errno != ENOENT && errno != ENOTDIR && errno != ENAMETOOLONG) {
      throw SystemError::of(stored);
    }
  }
  return "";
}
