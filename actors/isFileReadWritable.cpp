#include "actors/isFileReadWritable.h"

#include <sys/stat.h>

#include <cerrno>

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
