// The input of a split, compressed or not.
#ifndef ADMIN_INPUTOPENER_H
#define ADMIN_INPUTOPENER_H

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

#include "common/AutoClose.h"

/// Opens an LDIF file for reading. Data that gzip, bzip2, xz or zstd compressed is told by its
/// first bytes, whatever the file's name, and unpacked on the way, by a thread of its own. One
/// opener is for one file at a time; the stream has to be closed before the opener is gone or used
/// again.
class InputOpener {
 public:
  InputOpener() = default;
  ~InputOpener();
  InputOpener(const InputOpener&) = delete;
  InputOpener& operator=(const InputOpener&) = delete;

  /// A null pointer, with errno set, where the file cannot be opened.
  AutoClose open(const std::string& name);

  /// To be called once the stream is read to its end: waits for the thread, and throws SystemError
  /// where the data could not be unpacked whole, or other bytes than zeros follow it. A split that
  /// ended well is no good then.
  void requireWhole();

  /// How many bytes of the file itself were taken so far; for regular files. May be called from any
  /// thread while the stream is open.
  std::uint64_t taken() const;

  /// The size of the file in bytes; 0 where it is no regular file.
  std::uint64_t size() const { return size_; }

 private:
  static std::string unpack(int from, int to, bool isPacked);
  void stop();

  std::string name_;
  std::uint64_t size_ = 0;
  int file_ = -1;       // of the stream, or what the thread reads
  std::thread thread_;  // runs only where there is something to unpack
  std::string fault_;   // of the thread; to be read once it has ended
};

#endif
