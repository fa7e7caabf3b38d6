// An owning holder of a stream.
#ifndef COMMON_AUTOCLOSE_H
#define COMMON_AUTOCLOSE_H

#include <cstdio>
#include <memory>

/// Closes a stream and ignores whether that worked. So it may hold a stream that is only read, or
/// one whose failure is already reported. An output whose data counts is closed with fclose, which
/// tells whether the last bytes were written.
struct StreamCloser {
  void operator()(std::FILE* stream) const { static_cast<void>(std::fclose(stream)); }
};

using AutoClose = std::unique_ptr<std::FILE, StreamCloser>;

#endif
