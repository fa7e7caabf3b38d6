#include "ldifsplit/LineReader.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

constexpr std::size_t initialCapacity = std::size_t{256} * 1024;

}  // namespace

// In C++14 a constant that is taken by reference needs a definition of its own.
constexpr std::size_t LineReader::maximalPhysicalLine;

LineReader::LineReader(std::FILE* stream)
    : file_(::fileno(stream)),
      holder_(new char[initialCapacity]),
      block_(holder_.get()),
      capacity_(initialCapacity) {}

bool LineReader::readLine() {
  lineBegin_ = lineEnd_;
  startsWithLaterPiece_ = !lastLineEnded_;
  return appendLine();
}

bool LineReader::appendLine() {
  std::size_t searched = 0;  // bytes behind lineEnd_ that hold no line feed
  for (;;) {
    const std::size_t available = std::min(dataEnd_ - lineEnd_, maximalPhysicalLine);
    const char* const start = block_ + lineEnd_;
    const void* const lineFeed = std::memchr(start + searched, '\n', available - searched);
    if (lineFeed != nullptr) {
      lineEnd_ += static_cast<std::size_t>(static_cast<const char*>(lineFeed) - start) + 1;
      lastLineEnded_ = true;
      return true;
    }
    if (available == maximalPhysicalLine || (atEnd_ && available > 0)) {
      lineEnd_ += available;
      lastLineEnded_ = false;
      return true;
    }
    searched = available;
    if (!fill() && (!atEnd_ || available == 0)) {
      return false;
    }
  }
}

bool LineReader::nextIsBlank() {
  return (lineEnd_ < dataEnd_ || fill()) && block_[lineEnd_] == ' ';
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
    count = ::read(file_, block_ + dataEnd_, capacity_ - dataEnd_);
  } while (count < 0 && errno == EINTR);
  if (count > 0) {
    dataEnd_ += static_cast<std::size_t>(count);
  }
  atEnd_ = count == 0;
  return count > 0;
}

/// Moves the logical line to the front of the block, or the block to a larger one where the line
/// fills it.
void LineReader::makeRoom() {
  const std::size_t kept = dataEnd_ - lineBegin_;
  if (lineBegin_ > 0) {
    std::memmove(block_, block_ + lineBegin_, kept);
  } else {
    capacity_ *= 2;
    char* const larger = new char[capacity_];
    std::memcpy(larger, block_, kept);
    holder_ = larger;
    block_ = larger;
  }
  lineEnd_ -= lineBegin_;
  dataEnd_ = kept;
  lineBegin_ = 0;
}
