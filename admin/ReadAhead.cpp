#include "admin/ReadAhead.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "admin/exitStatus.h"
#include "platform/text/Bytes16.h"
#include "platform/text/onOneLine.h"

std::int64_t countLineFeeds(const char* bytes, std::size_t size) {
  std::int64_t count = 0;
  std::size_t at = 0;
  for (; at + 4 * text::bytesAtOnce <= size; at += 4 * text::bytesAtOnce) {
    std::uint64_t places = 0;
    for (std::size_t i = 0; i < 4; ++i) {
      const text::Bytes16 some(bytes + at + i * text::bytesAtOnce);
      places |= std::uint64_t{some.equal('\n').mask()} << (i * text::bytesAtOnce);
    }
    count += __builtin_popcountll(places);
  }
  return count + std::count(bytes + at, bytes + size, '\n');
}

bool ReadAhead::open(const std::string& name) {
  for (const char* const ending : {"", ".gz", ".bz2", ".xz", ".zst"}) {
    name_ = name + ending;
    stream_ = opener_.open(name_);
    if (stream_ != nullptr) {
      return true;
    }
    if (errno != ENOENT) {
      throw SystemError::of(text::onOneLine(name_));
    }
  }
  name_ = name;
  return false;
}

bool ReadAhead::fill() {
  if (atEnd_ || stream_ == nullptr) {
    return false;
  }
  if (block_ == nullptr) {
    block_.reset(new char[capacity_]);
  }
  if (end_ == capacity_) {
    std::memmove(block_.get(), data(), size());
    end_ -= begin_;
    begin_ = 0;
  }
  ssize_t count = 0;
  do {
    count = ::read(::fileno(stream_.get()), block_.get() + end_, capacity_ - end_);
  } while (count < 0 && errno == EINTR);
  if (count < 0) {
    throw SystemError::of(text::onOneLine(name_));
  }
  if (count == 0) {
    atEnd_ = true;
    stream_.reset();
    opener_.requireWhole();
    return false;
  }
  end_ += static_cast<std::size_t>(count);
  return true;
}

void ReadAhead::skip(std::size_t count) {
  lineFeeds_ += countLineFeeds(data(), count);
  begin_ += count;
  if (begin_ == end_) {
    begin_ = 0;
    end_ = 0;
  }
}
