// An owning holder of a stream.
#ifndef COMMON_AUTOCLOSE_H
#define COMMON_AUTOCLOSE_H

#include <cstdio>
#include <memory>

/// Closes a stream. What fclose says is lost: for streams that are read, or that an exception
/// already gave up.
struct StreamCloser {
  void operator()(std::FILE* stream) const { std::fclose(stream); }
};

using AutoClose = std::unique_ptr<std::FILE, StreamCloser>;

#endif
