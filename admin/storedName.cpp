#include "admin/storedName.h"

#include <sys/stat.h>

std::string storedName(const std::string& name) {
  for (const char* const ending : {"", ".gz", ".bz2", ".xz", ".zst"}) {
    struct stat status {};
    if (::stat((name + ending).c_str(), &status) == 0) {
      return name + ending;
    }
  }
  return "";
}
