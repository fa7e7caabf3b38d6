#include "driver/foreignFormat.h"

#include <sys/stat.h>

#include <array>
#include <cstdio>

#include "common/AutoClose.h"

namespace {

constexpr std::size_t longestMark = 10;

struct Mark {
  const char* bytes;
  const char* format;
};

// bzip2 writes its level, 1 to 9, into the fourth byte; '?' stands for it. The six behind it begin
// a block, or the end where there is none.
constexpr Mark marks[] = {
    {"\xEF\xBB\xBF", "text behind a UTF-8 byte order mark"},
    {"\x1F\x8B", "compressed data (gzip)"},
    {"BZh?\x31\x41\x59\x26\x53\x59", "compressed data (bzip2)"},
    {"BZh?\x17\x72\x45\x38\x50\x90", "compressed data (bzip2)"},
    {"\xFD"
     "7zXZ",
     "compressed data (xz)"},
    {"\x28\xB5\x2F\xFD", "compressed data (zstd)"},
};

bool beginsWith(const std::string& bytes, const std::string& mark) {
  if (bytes.size() < mark.size()) {
    return false;
  }
  for (std::size_t i = 0; i < mark.size(); ++i) {
    if (mark[i] != '?' && mark[i] != bytes[i]) {
      return false;
    }
  }
  return true;
}

}  // namespace

bool isCompressed(const std::string& format) {
  return format.find("compressed") != std::string::npos;
}

std::string foreignFormat(const std::string& fileName) {
  struct stat status {};
  if (::stat(fileName.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return "";
  }
  const AutoClose file(std::fopen(fileName.c_str(), "r"));
  if (file == nullptr) {
    return "";
  }
  std::array<char, longestMark> start{};
  const std::string bytes(start.data(), std::fread(start.data(), 1, start.size(), file.get()));
  for (const Mark& mark : marks) {
    if (beginsWith(bytes, mark.bytes)) {
      return mark.format;
    }
  }
  return "";
}
