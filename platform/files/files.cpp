#include "platform/files/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

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
  // The limits of path names do not hold for the working directory, so the buffer grows until it
  // fits.
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
