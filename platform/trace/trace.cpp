#include "platform/trace/trace.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <string>

unsigned int trcEvents = 0;

void ldtr_init() {
  static_cast<void>(std::setvbuf(stderr, nullptr, _IOLBF, BUFSIZ));
}

namespace ldtr_formater_global {

void debug(unsigned int level, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);

  std::array<char, 12> prefix{};
  static_cast<void>(std::snprintf(prefix.data(), prefix.size(), "%x ", level));
  std::string text = prefix.data();
  if (length > 0) {
    const std::string::size_type start = text.size();
    text.resize(start + static_cast<std::string::size_type>(length));
    // vsnprintf ends the text with a NUL, which has its place behind every std::string.
    static_cast<void>(
        std::vsnprintf(text.data() + start, static_cast<std::size_t>(length) + 1, format, again));
  }
  va_end(again);
  if (text.back() != '\n') {
    text += '\n';
  }
  static_cast<void>(std::fwrite(text.data(), 1, text.size(), stderr));
}

}  // namespace ldtr_formater_global
