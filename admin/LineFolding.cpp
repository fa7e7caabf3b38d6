#include "admin/LineFolding.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "admin/exitStatus.h"

namespace {

constexpr const char* lineFeed = "\n";
constexpr const char* carriageReturnLineFeed = "\r\n";

bool isBetween(char c, unsigned int low, unsigned int high) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= low && byte <= high;
}

bool isContinuation(char c) {
  return isBetween(c, 0x80, 0xBF);
}

/// Whether the bytes at `text` begin with a character of `size` bytes, from 2 to 4, as the table of
/// well-formed UTF-8 has it (RFC 3629, section 4): neither longer than it must be, nor a surrogate,
/// nor above U+10FFFF.
bool isCharacter(const char* text, std::size_t size) {
  const char first = text[0];
  const char second = text[1];
  if (!isContinuation(second) || !std::all_of(text + 2, text + size, isContinuation)) {
    return false;
  }
  if (size == 2) {
    return isBetween(first, 0xC2, 0xDF);
  }
  if (size == 3) {
    return isBetween(first, 0xE0, 0xEF) && (first != '\xE0' || isBetween(second, 0xA0, 0xBF)) &&
           (first != '\xED' || isBetween(second, 0x80, 0x9F));
  }
  return isBetween(first, 0xF0, 0xF4) && (first != '\xF0' || isBetween(second, 0x90, 0xBF)) &&
         (first != '\xF4' || isBetween(second, 0x80, 0x8F));
}

/// The last place at or before `place` where the text of `size` bytes may be cut.
std::size_t cutAtOrBefore(const char* text, std::size_t size, std::size_t place) {
  constexpr std::size_t longestCharacter = 4;
  for (std::size_t before = 1; before < longestCharacter && before <= place; ++before) {
    const std::size_t begin = place - before;
    for (std::size_t length = before + 1; length <= longestCharacter; ++length) {
      if (begin + length <= size && isCharacter(text + begin, length)) {
        return begin;
      }
    }
  }
  return place;
}

/// Of a line with its line feed: its size without its line end.
std::size_t sizeWithoutEnd(const char* line, std::size_t size) {
  return size > 1 && line[size - 2] == '\r' ? size - 2 : size - 1;
}

}  // namespace

// In C++14 a constant that is taken by reference needs a definition of its own.
constexpr std::size_t LineFolding::longestLine;
constexpr std::size_t LineFolding::capacity;
constexpr std::size_t LineFolding::lookAhead;

LineFolding::LineFolding(int input, std::string name, StandardOutput& output)
    : input_(input), name_(std::move(name)), output_(output), block_(new char[capacity]) {}

void LineFolding::run() {
  learnFirstLineEnd();
  for (;;) {
    while (available() < lookAhead && fill()) {
    }
    if (available() == 0) {
      return;
    }
    if (!isFolded_) {
      takeShortLines();
    }
    if (available() >= lookAhead || (atEnd_ && available() > 0)) {
      takeLineOrPiece();
    }
  }
}

void LineFolding::learnFirstLineEnd() {
  while (std::memchr(at(), '\n', available()) == nullptr && end_ < capacity && fill()) {
  }
  const void* const found = std::memchr(at(), '\n', available());
  if (found != nullptr) {
    learn(at(), static_cast<std::size_t>(static_cast<const char*>(found) - at()) + 1);
  }
}

/// Reads more behind what is there; false at the end of the input.
bool LineFolding::fill() {
  if (atEnd_) {
    return false;
  }
  std::memmove(block_.get(), at(), available());
  end_ = available();
  begin_ = 0;
  ssize_t count = 0;
  do {
    count = ::read(input_, block_.get() + end_, capacity - end_);
  } while (count < 0 && errno == EINTR);
  if (count < 0) {
    throw SystemError::of(name_);
  }
  end_ += static_cast<std::size_t>(count);
  atEnd_ = count == 0;
  return !atEnd_;
}

/// Nearly all lines of most inputs: copied together, as far as it is certain that none is long.
void LineFolding::takeShortLines() {
  const char* const begin = at();
  const char* const end = begin + available();
  const char* line = begin;
  while (static_cast<std::size_t>(end - line) >= lookAhead) {
    const void* const found = std::memchr(line, '\n', longestLine + 2);
    if (found == nullptr) {
      break;
    }
    const auto size = static_cast<std::size_t>(static_cast<const char*>(found) - line) + 1;
    if (sizeWithoutEnd(line, size) > longestLine) {
      break;
    }
    learn(line, size);
    line += size;
  }
  output_.write(begin, static_cast<std::size_t>(line - begin));
  begin_ += static_cast<std::size_t>(line - begin);
}

void LineFolding::takeLineOrPiece() {
  const std::size_t room = isFolded_ ? longestLine - 1 : longestLine;
  if (!takeRestOfLine(room)) {
    fold(room);
  }
}

/// Copies what is left of the line where it has no more than so many bytes; else returns false.
bool LineFolding::takeRestOfLine(std::size_t room) {
  const void* const found = std::memchr(at(), '\n', std::min(room + 2, available()));
  std::size_t size = available();
  if (found != nullptr) {
    size = static_cast<std::size_t>(static_cast<const char*>(found) - at()) + 1;
    if (sizeWithoutEnd(at(), size) > room) {
      return false;
    }
    learn(at(), size);
  } else if (!atEnd_ || size > room) {
    return false;
  }
  output_.write(at(), size);
  begin_ += size;
  isFolded_ = false;
  return true;
}

void LineFolding::fold(std::size_t room) {
  const std::size_t size = cutAtOrBefore(at(), available(), room);
  output_.write(at(), size);
  const char* const end = at()[size - 1] == '\r' ? carriageReturnLineFeed : lineEnd_;
  output_.write(end, std::strlen(end));
  output_.write(" ", 1);
  begin_ += size;
  isFolded_ = true;
}

/// Takes the line end of a line, which has its line feed, for the folds that follow.
void LineFolding::learn(const char* line, std::size_t size) {
  lineEnd_ = sizeWithoutEnd(line, size) < size - 1 ? carriageReturnLineFeed : lineFeed;
}
