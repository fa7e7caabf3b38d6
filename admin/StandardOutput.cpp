#include "admin/StandardOutput.h"

#include <unistd.h>

#include <cerrno>

#include "admin/exitStatus.h"

// In C++14 a constant that is taken by reference needs a definition of its own.
constexpr std::size_t StandardOutput::capacity;

StandardOutput::StandardOutput() {
  buffer_.reserve(capacity);
}

void StandardOutput::flush() {
  writeAll(buffer_.data(), buffer_.size());
  buffer_.clear();
}

void StandardOutput::writeAll(const char* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t written = ::write(STDOUT_FILENO, bytes, size);
    if (written < 0 && errno == EINTR) {
      continue;
    }
    if (written < 0) {
      throw SystemError::of("standard output");
    }
    bytes += written;
    size -= static_cast<std::size_t>(written);
  }
}
