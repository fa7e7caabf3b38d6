// Results by the million.
#ifndef ADMIN_STANDARDOUTPUT_H
#define ADMIN_STANDARDOUTPUT_H

#include <cstddef>
#include <string>

/// Writes to standard output in large pieces, beside stdio: who uses it prints nothing there in
/// another way. Each function that writes throws SystemError where the system refuses.
class StandardOutput {
 public:
  StandardOutput();
  StandardOutput(const StandardOutput&) = delete;
  StandardOutput& operator=(const StandardOutput&) = delete;

  void write(const char* bytes, std::size_t size) {
    if (buffer_.size() + size > capacity) {
      flush();
      if (size > capacity) {
        writeAll(bytes, size);
        return;
      }
    }
    buffer_.append(bytes, size);
  }
  void write(const std::string& text) { write(text.data(), text.size()); }

  /// To be called at the end: what is still here is lost otherwise.
  void flush();

 private:
  static constexpr std::size_t capacity = std::size_t{128} * 1024;

  static void writeAll(const char* bytes, std::size_t size);

  std::string buffer_;
};

#endif
