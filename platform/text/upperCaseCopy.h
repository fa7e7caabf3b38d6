// ASCII letters in upper case, for whole texts.
#ifndef PLATFORM_TEXT_UPPERCASECOPY_H
#define PLATFORM_TEXT_UPPERCASECOPY_H

#include <cstddef>

#include "platform/text/Bytes16.h"

namespace text {

/// Writes the `size` bytes at `from` to `to`, small ASCII letters as capitals. The two may be the
/// same place; otherwise they must not overlap.
inline void upperCaseCopy(const char* from, std::size_t size, char* to) {
  std::size_t done = 0;
  for (; size - done >= bytesAtOnce; done += bytesAtOnce) {
    Bytes16(from + done).inUpperCase().store(to + done);
  }
  for (; done < size; ++done) {
    to[done] = toAsciiUpper(from[done]);
  }
}

}  // namespace text

#endif
