// How LDIF files are opened for writing, and the exceptions that follow where that or a write
// fails. Each function is a template over the exception to throw: the last argument selects the
// type and is always a null pointer.
#ifndef LDIFSPLIT_OPENNEWLDIF_H
#define LDIFSPLIT_OPENNEWLDIF_H

#include <cstddef>
#include <cstdio>
#include <string>

#include "common/AutoClose.h"
#include "common/SystemFailure.h"

/// Throws E with line 0: the file cannot be opened or created. The text does not tell a missing
/// file or directory from a denied one.
template <typename E>
[[noreturn]] void throwFileOpenException(const std::string& name, E* /*selector*/ = nullptr) {
  throw E(0, "error opening " + name + ": permission denied or does not exist");
}

/// Throws E with `line` and the bare file name as its message.
template <typename E>
[[noreturn]] void throwFileWriteException(const std::string& name, int line,
                                          E* /*selector*/ = nullptr) {
  throw E(line, name);
}

/// Creates or empties the file and writes the header of an LDIF file, "version: 1" and an empty
/// line (RFC 2849). Returns the stream, which the caller closes. Throws E, line 0: through
/// throwFileOpenException where the file cannot be opened, through throwFileWriteException where a
/// piece of the header is not written in full; noteSystemFailure() has the reason.
///
/// The stream works in the `size` bytes at `buffer`, which have to outlive it.
template <typename E>
std::FILE* openNewLdif(const char* path, char* buffer, std::size_t size) {
  AutoClose stream(std::fopen(path, "w"));
  if (stream == nullptr) {
    noteSystemFailure(path);
    throwFileOpenException<E>(path);
  }
  if (buffer != nullptr) {
    static_cast<void>(std::setvbuf(stream.get(), buffer, _IOFBF, size));
  }
  for (const std::string piece : {"version: 1\n", "\n"}) {
    if (std::fwrite(piece.data(), piece.size(), 1, stream.get()) != 1) {
      noteSystemFailure(path);
      throwFileWriteException<E>(path, 0);
    }
  }
  return stream.release();
}

/// The same with the library's own buffer.
template <typename E>
std::FILE* openNewLdif(const char* path, E* /*selector*/ = nullptr) {
  return openNewLdif<E>(path, nullptr, 0);
}

/// Opens the file for appending; what it holds stays, and no header is written. Returns the stream,
/// which the caller closes. Throws E through throwFileOpenException where that fails.
template <typename E>
std::FILE* openExistingLdif(const char* path, E* /*selector*/ = nullptr) {
  std::FILE* stream = std::fopen(path, "a");
  if (stream == nullptr) {
    throwFileOpenException<E>(path);
  }
  return stream;
}

#endif
