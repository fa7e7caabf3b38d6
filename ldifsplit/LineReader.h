// The input of the split, one logical line at a time.
#ifndef LDIFSPLIT_LINEREADER_H
#define LDIFSPLIT_LINEREADER_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>

#include "platform/ldif/ldifLineKind.h"
#include "platform/text/Bytes16.h"

namespace ldifsplit {

/// Reads an LDIF file as fgets into a buffer of 4096 bytes would: a physical line ends behind its
/// line feed, or after 4095 bytes; the rest of a longer one is then read as further lines, its
/// pieces. NUL bytes are bytes like others. Underneath, blocks are read, so that anything that can
/// be read once will do: a file, a FIFO, standard input.
///
/// A logical line is a physical line and those appended to it. Its bytes stand together, as read,
/// and so do those of all lines since hold().
class LineReader {
 public:
  static constexpr std::size_t maximalPhysicalLine = 4095;

  /// So many bytes behind a logical line can always be read; what they hold means nothing.
  static constexpr std::size_t padding = 64;

  /// Is told behind each block how many bytes were read in all.
  using Watcher = std::function<void(std::uint64_t)>;

  /// Reads from the descriptor of `stream`, past the stream's own buffer: the stream must not have
  /// been read from, and stays open. `watcher` may be empty.
  explicit LineReader(std::FILE* stream, Watcher watcher = {});

  /// Starts a new logical line with the next physical line. False where nothing could be read: a
  /// read error, or the end of the input.
  bool readLine() {
    lineBegin_ = lineEnd_;
    startsWithLaterPiece_ = !lastLineEnded_;
    return appendLine();
  }

  /// Appends the next physical line to the logical line; false as above.
  bool appendLine() {
    const std::size_t lineFeed = nextLineFeed();
    if (lineFeed == dataEnd_ || lineFeed - lineEnd_ >= maximalPhysicalLine) {
      return appendUnusualLine();
    }
    takeThrough(lineFeed);
    return true;
  }

  /// Lines taken together.
  struct Taken {
    int lines;
    std::size_t size;  // in bytes
  };

  /// Takes the ordinary attribute lines (see isOrdinaryAttributeLine) that follow, each a logical
  /// line without a fold, as far as they stand in memory already and have `most` bytes together.
  /// The last becomes the logical line; nothing changes where there is none. The logical line
  /// before has to end with its line feed. The greater part of most inputs goes this way.
  Taken takeOrdinaryLines(std::size_t most) {
    // In registers: a call for each line would have them written to memory and read again.
    const char* const block = block_.get();
    const std::size_t last = std::min(lineEnd_ + most, dataEnd_ - 1);  // the next byte is looked at
    std::size_t begin = lineBegin_;
    std::size_t end = lineEnd_;
    int lines = 0;
    while (isOrdinaryAttributeLine(block + end)) {
      const std::size_t lineFeed = nextLineFeed();
      if (lineFeed >= last || lineFeed - end >= maximalPhysicalLine || block[lineFeed + 1] == ' ') {
        break;
      }
      lineFeeds_ &= lineFeeds_ - 1;
      begin = end;
      end = lineFeed + 1;
      ++lines;
    }
    const Taken taken{lines, end - lineEnd_};
    if (lines > 0) {
      lineBegin_ = begin;
      lineEnd_ = end;
      startsWithLaterPiece_ = false;
    }
    return taken;
  }

  /// Whether the next byte of the input is a blank. At the end of the input and after a read error
  /// it is not.
  bool nextIsBlank() { return (lineEnd_ < dataEnd_ || fill()) && block_[lineEnd_] == ' '; }

  /// Whether reading has met the end of the input; a last line without a line feed sets it too.
  bool atEnd() const { return atEnd_; }

  /// The errno of the first read that failed, 0 where none did. A second one may find the end.
  int readError() const { return readError_; }

  /// The logical line; valid until the next call of one of the functions that read. Not
  /// NUL-terminated.
  const char* data() const { return block_.get() + lineBegin_; }
  std::size_t size() const { return lineEnd_ - lineBegin_; }

  /// Whether the logical line ends with a line feed.
  bool endsWithLineFeed() const { return lastLineEnded_; }

  /// Whether the logical line starts with a piece of a physical line that is not its first.
  bool startsWithLaterPiece() const { return startsWithLaterPiece_; }

  /// Keeps the logical line in memory, and all that is read from here on, until release().
  void hold() { holdFrom(lineBegin_); }

  /// The same with the byte before the logical line, which is a line feed unless the line starts
  /// with a later piece: that of the line before or, for the first line of the input, one that no
  /// file holds.
  void holdWithLineFeedBefore() { holdFrom(lineBegin_ - 1); }

  /// The first byte that is held; valid as data() is.
  const char* held() const { return block_.get() + heldBegin_; }

  void release() { isHolding_ = false; }

 private:
  static constexpr std::size_t windowSize = 64;

  void holdFrom(std::size_t begin) {
    heldBegin_ = begin;
    isHolding_ = true;
  }

  /// The offset of the first line feed that is not in a line yet; dataEnd_ where there is none.
  std::size_t nextLineFeed() {
    while (lineFeeds_ == 0) {
      if (windowEnd_ == dataEnd_) {
        return dataEnd_;
      }
      lookAtNextWindow();
    }
    return windowBegin_ + text::firstPlace(lineFeeds_);
  }

  void lookAtNextWindow() {
    const char* const at = block_.get() + windowEnd_;
    windowBegin_ = windowEnd_;
    windowEnd_ = std::min(windowBegin_ + windowSize, dataEnd_);
    for (std::size_t i = 0; i < windowSize; i += text::bytesAtOnce) {
      lineFeeds_ |= std::uint64_t{text::Bytes16(at + i).equal('\n').mask()} << i;
    }
    // What stands behind the data is none of it.
    lineFeeds_ &= ~std::uint64_t{0} >> (windowSize - (windowEnd_ - windowBegin_));
  }

  void takeThrough(std::size_t lineFeed) {
    lineEnd_ = lineFeed + 1;
    lineFeeds_ &= lineFeeds_ - 1;
    lastLineEnded_ = true;
  }

  bool appendUnusualLine();
  bool fill();
  void makeRoom();

  int file_;
  Watcher watcher_;
  std::uint64_t bytesRead_ = 0;
  std::size_t capacity_;           // of the block, without the padding
  std::unique_ptr<char[]> block_;  // a line feed, then what was read
  std::size_t dataEnd_ = 1;
  std::size_t lineBegin_ = 1;
  std::size_t lineEnd_ = 1;
  std::uint64_t lineFeeds_ = 0;  // a bit for each in the window that is not in a line yet
  std::size_t windowBegin_ = 1;
  std::size_t windowEnd_ = 1;  // where the search for line feeds goes on
  std::size_t heldBegin_ = 0;
  bool isHolding_ = false;
  bool atEnd_ = false;
  int readError_ = 0;
  bool lastLineEnded_ = true;  // the last physical line had its line feed
  bool startsWithLaterPiece_ = false;
};

}  // namespace ldifsplit

#endif
