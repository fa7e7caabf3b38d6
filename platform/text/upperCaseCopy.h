// ASCII letters in upper case, for whole texts.
#ifndef PLATFORM_TEXT_UPPERCASECOPY_H
#define PLATFORM_TEXT_UPPERCASECOPY_H

#include <cstddef>

#include "platform/text/Bytes16.h"

namespace text {

/// Writes the `size` bytes at `from` to `to`, small ASCII letters as capitals. The two may be the
/// same place; otherwise they must not overlap.
inline void upperCaseCopy(const char* from, std::size_t size, char* to) {
  if (size < bytesAtOnce) {
    for (std::size_t i = 0; i < size; ++i) {
      to[i] = toAsciiUpper(from[i]);
    }
    return;
  }
  const std::size_t last = size - bytesAtOnce;
  for (std::size_t at = 0; at < last; at += bytesAtOnce) {
    Bytes16(from + at).inUpperCase().store(to + at);
  }
  // Some bytes a second time, which changes nothing.
  Bytes16(from + last).inUpperCase().store(to + last);
}

}  // namespace text

#endif
