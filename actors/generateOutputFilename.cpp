#include "actors/generateOutputFilename.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

const char* const defaultLdifPrefix = "server";
const char* const defaultLdifSuffix = ".ldif";

namespace nLdifActor {

std::string generateOutputFilename(int n) {
  char number[3];
  // A third character is cut off: the names keep one width.
  const int length = std::snprintf(number, sizeof number, "%.2d", n);
  return length < 0 ? std::string() : std::string(defaultLdifPrefix) + number + defaultLdifSuffix;
}

}  // namespace nLdifActor

bool isFileReadWritable(const char* path) {
  if (path == nullptr) {
    return false;
  }
  struct stat status {};
  if (::stat(path, &status) != 0 && (errno == EACCES || errno == ENOENT)) {
    return false;
  }
  return (status.st_mode & S_IRUSR) != 0 && (status.st_mode & S_IWUSR) != 0;
}
