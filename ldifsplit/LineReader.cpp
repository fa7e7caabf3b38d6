#include "ldifsplit/LineReader.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace ldifsplit {
namespace {

/// Small enough to stay in the cache of one core while its lines are looked at and written.
constexpr std::size_t initialCapacity = std::size_t{256} * 1024;

/// A block of so many bytes and the padding, all of them zero.
std::unique_ptr<char[]> newBlock(std::size_t capacity) {
  return std::unique_ptr<char[]>(new char[capacity + LineReader::padding]());
}

}  // namespace

// In C++14 a constant that is taken by reference needs a definition of its own.
constexpr std::size_t LineReader::maximalPhysicalLine;
constexpr std::size_t LineReader::padding;

LineReader::LineReader(std::FILE* stream, Watcher watcher)
    : file_(::fileno(stream)),
      watcher_(std::move(watcher)),
      capacity_(initialCapacity),
      block_(newBlock(capacity_)) {
  block_[0] = '\n';
}

/// A physical line that does not stand in the block with its line feed: more has to be read, or it
/// is a piece of an overlong line, or the last of the input.
bool LineReader::appendUnusualLine() {
  for (;;) {
    const std::size_t lineFeed = nextLineFeed();
    const std::size_t available = lineFeed - lineEnd_;
    if (available >= maximalPhysicalLine) {
      lineEnd_ += maximalPhysicalLine;
      lastLineEnded_ = false;
      return true;
    }
    if (lineFeed != dataEnd_) {
      takeThrough(lineFeed);
      return true;
    }
    if (atEnd_ && available > 0) {
      lineEnd_ = dataEnd_;
      lastLineEnded_ = false;
      return true;
    }
    if (!fill() && (!atEnd_ || available == 0)) {
      return false;
    }
  }
}

/// Reads more bytes behind those that are there; false at the end of the input and after an error.
bool LineReader::fill() {
  if (atEnd_) {
    return false;
  }
  if (dataEnd_ == capacity_) {
    makeRoom();
  }
  ssize_t count = 0;
  do {
    count = ::read(file_, block_.get() + dataEnd_, capacity_ - dataEnd_);
  } while (count < 0 && errno == EINTR);
  if (count > 0) {
    dataEnd_ += static_cast<std::size_t>(count);
    bytesRead_ += static_cast<std::uint64_t>(count);
    if (watcher_) {
      watcher_(bytesRead_);
    }
  }
  if (count < 0 && readError_ == 0) {
    readError_ = errno;
  }
  atEnd_ = count == 0;
  return count > 0;
}

/// Moves what is still wanted to the front of the block, or the block to a larger one where that
/// fills it.
void LineReader::makeRoom() {
  const std::size_t keptBegin = isHolding_ ? heldBegin_ : lineBegin_ - 1;
  const std::size_t kept = dataEnd_ - keptBegin;
  if (keptBegin > 0) {
    std::memmove(block_.get(), block_.get() + keptBegin, kept);
  } else {
    std::unique_ptr<char[]> larger = newBlock(2 * capacity_);
    std::memcpy(larger.get(), block_.get(), kept);
    block_ = std::move(larger);
    capacity_ *= 2;
  }
  lineBegin_ -= keptBegin;
  lineEnd_ -= keptBegin;
  windowBegin_ -= keptBegin;
  windowEnd_ -= keptBegin;
  heldBegin_ = 0;
  dataEnd_ = kept;
}

}  // namespace ldifsplit
