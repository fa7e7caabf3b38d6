// Texts of ASCII alone.
#ifndef PLATFORM_TEXT_ISASCII_H
#define PLATFORM_TEXT_ISASCII_H

#include <cstddef>

#include "platform/text/Bytes16.h"

namespace text {

/// Whether none of the `size` bytes at `at` is above 0x7F.
inline bool isAscii(const char* at, std::size_t size) {
  PlaceMask outside = 0;
  std::size_t done = 0;
  for (; size - done >= bytesAtOnce; done += bytesAtOnce) {
    outside |= Bytes16(at + done).mask();
  }
  if (size >= bytesAtOnce) {
    // Some bytes a second time.
    return (outside | Bytes16(at + size - bytesAtOnce).mask()) == 0;
  }
  unsigned int bits = 0;
  for (std::size_t i = 0; i < size; ++i) {
    bits |= static_cast<unsigned char>(at[i]);
  }
  return bits < 0x80;
}

}  // namespace text

#endif
