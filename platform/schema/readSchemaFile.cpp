#include "platform/schema/readSchemaFile.h"

#include <sys/stat.h>

#include <array>
#include <cstdio>
#include <memory>

#include "platform/text/lastError.h"

namespace schema {

std::string readSchemaFile(const std::string& file, std::string& text) {
  struct stat status {};
  if (stat(file.c_str(), &status) != 0) {
    return text::lastError();
  }
  // To open a pipe would be to wait until somebody writes to it, and a device may have no end.
  if (!S_ISREG(status.st_mode)) {
    return S_ISDIR(status.st_mode) ? "it is a directory" : "it is not a regular file";
  }
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::fopen(file.c_str(), "r"),
                                                               std::fclose);
  if (stream == nullptr) {
    return text::lastError();
  }
  std::array<char, 65536> buffer{};
  text.clear();
  for (std::size_t got = buffer.size(); got == buffer.size();) {
    got = std::fread(buffer.data(), 1, buffer.size(), stream.get());
    text.append(buffer.data(), got);
  }
  return std::ferror(stream.get()) != 0 ? text::lastError() : "";
}

}  // namespace schema
