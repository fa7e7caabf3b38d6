// A hint for the processor's cache.
#ifndef LDIFSPLIT_PREFETCHFORWRITE_H
#define LDIFSPLIT_PREFETCHFORWRITE_H

#include <cstddef>
#include <cstdio>

namespace ldifsplit {

/// Has the memory fetched to which the next bytes of `stream` will go, so that it is there once
/// they are written. Among hundreds of streams whose turns come at random that saves a wait of a
/// hundred nanoseconds an entry. Does nothing where the C library does not tell the place.
inline void prefetchForWrite(std::FILE* stream) {
#if defined(__GLIBC__)
  constexpr std::size_t cacheLine = 64;
  constexpr std::size_t usualEntry = 512;
  for (std::size_t at = 0; at < usualEntry; at += cacheLine) {
    __builtin_prefetch(stream->_IO_write_ptr + at, 1);
  }
#else
  static_cast<void>(stream);
#endif
}

}  // namespace ldifsplit

#endif
