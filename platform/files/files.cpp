#include "platform/files/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

static_assert(sizeof(off_t) >= 8, "exports are larger than 2 GB");

int doesFileExist(const char* path) {
  struct stat status {};
  return path != nullptr && ::stat(path, &status) == 0 ? 1 : 0;
}

int clearFile(const char* path) {
  if (path == nullptr) {
    return 0;
  }
  int file = -1;
  do {
    file = ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  } while (file < 0 && errno == EINTR);
  return file >= 0 && ::close(file) == 0 ? 1 : 0;
}

int isDirectory(const char* path) {
  struct stat status {};
  return path != nullptr && ::stat(path, &status) == 0 && S_ISDIR(status.st_mode) ? 1 : 0;
}

char* getCurrentWorkingDirectory() {
  // The working directory may be deeper than the longest path that a call would take, so no size
  // is large enough beforehand.
  for (std::size_t capacity = 256;; capacity *= 2) {
    char* directory = static_cast<char*>(std::malloc(capacity));
    if (directory == nullptr || ::getcwd(directory, capacity) != nullptr) {
      return directory;
    }
    const int reason = errno;
    std::free(directory);
    if (reason != ERANGE) {
      return nullptr;
    }
  }
}
