#include "admin/FilePlace.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>

namespace {

constexpr int mostLinks = 40;  // as many as Linux follows

bool beginsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

/// A name of a descriptor of this process, whatever that leads to: a file there is already open.
bool namesDescriptor(const std::string& name) {
  return beginsWith(name, "/dev/std") || beginsWith(name, "/dev/fd/") || beginsWith(name, "/proc/");
}

}  // namespace

FileKind kindOf(const std::string& name) {
  struct stat status {};
  errno = 0;
  if (::stat(name.c_str(), &status) != 0) {
    if (errno == ENOENT || errno == ENOTDIR) {
      errno = 0;
    }
    return FileKind::missing;
  }
  if (S_ISDIR(status.st_mode)) {
    return FileKind::directory;
  }
  return S_ISREG(status.st_mode) && !namesDescriptor(name) ? FileKind::regular : FileKind::stream;
}

std::string directoryOf(const std::string& name) {
  const std::string::size_type slash = name.rfind('/');
  if (slash == std::string::npos) {
    return ".";
  }
  return slash == 0 ? "/" : name.substr(0, slash);
}

std::string lastPartOf(const std::string& name) {
  return name.substr(name.rfind('/') + 1);
}

std::string behindLinks(const std::string& name) {
  std::string at = name;
  for (int i = 0; i < mostLinks; ++i) {
    std::array<char, PATH_MAX> target{};
    const ssize_t size = ::readlink(at.c_str(), target.data(), target.size());
    if (size <= 0) {
      break;
    }
    const std::string next(target.data(), static_cast<std::size_t>(size));
    at = next.front() == '/' ? next : (directoryOf(at) + "/").append(next);
  }
  return at;
}

FilePlace::FilePlace(const std::string& name) {
  struct stat status {};
  if (::stat(name.c_str(), &status) != 0) {
    const std::string created = behindLinks(name);
    entry = lastPartOf(created);
    if (::stat(directoryOf(created).c_str(), &status) != 0) {
      return;
    }
  }
  isKnown = true;
  device = status.st_dev;
  node = status.st_ino;
}

bool operator==(const FilePlace& a, const FilePlace& b) {
  return a.isKnown && b.isKnown && a.device == b.device && a.node == b.node && a.entry == b.entry;
}
