#include "admin/ReadAhead.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "admin/exitStatus.h"
#include "admin/storedName.h"
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
  name_ = storedName(name);
  if (name_.empty()) {
    name_ = name;
    return false;
  }
  stream_ = opener_.open(name_);
  if (stream_ == nullptr) {
    throw SystemError::of(text::onOneLine(name_));
  }
  return true;
}

bool ReadAhead::fill() {
  if (atEnd_ || stream_ == nullptr) {
    return false;
  }
  if (block_ == nullptr) {
    block_.reset(new char[capacity_]);
  }
  if (end_ == capacity_ || begin_ == end_) {
    line();
    std::memmove(block_.get(), data(), size());
    end_ -= begin_;
    begin_ = 0;
    counted_ = 0;
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

std::int64_t ReadAhead::line() {
  lineFeeds_ += countLineFeeds(block_.get() + counted_, begin_ - counted_);
  counted_ = begin_;
  return lineFeeds_ + 1;
}
