// A file that is read once, from front to back, with a look at what comes.
#ifndef ADMIN_READAHEAD_H
#define ADMIN_READAHEAD_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "admin/InputOpener.h"
#include "common/AutoClose.h"

/// The bytes from the place that is reached, as far as they are read. Compressed files are
/// unpacked. Failures are SystemErrors.
class ReadAhead {
 public:
  /// `capacity`: how many bytes there may be to look at.
  explicit ReadAhead(std::size_t capacity) : capacity_(capacity) {}

  /// Opens the file, under its name or as storedName() finds it. False where there is none.
  bool open(const std::string& name);

  /// The name of the file that was opened.
  const std::string& name() const { return name_; }

  const char* data() const { return block_.get() + begin_; }
  std::size_t size() const { return end_ - begin_; }

  /// Reads more behind what is there; false at the end of the file. There has to be room: less than
  /// the capacity at hand.
  bool fill();

  /// Goes on by so many of the bytes that are there.
  void skip(std::size_t count) { begin_ += count; }

  /// The number of the line at the place that is reached.
  std::int64_t line();

 private:
  const std::size_t capacity_;
  std::string name_;
  InputOpener opener_;
  AutoClose stream_;
  std::unique_ptr<char[]> block_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  std::size_t counted_ = 0;     // up to there in the block the line feeds are counted
  std::int64_t lineFeeds_ = 0;  // as far as they are counted
  bool atEnd_ = false;
};

/// How many line feeds there are.
std::int64_t countLineFeeds(const char* bytes, std::size_t size);

#endif
