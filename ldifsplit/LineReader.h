// The input of the split, one logical line at a time.
#ifndef LDIFSPLIT_LINEREADER_H
#define LDIFSPLIT_LINEREADER_H

#include <cstddef>
#include <cstdio>

#include "common/AutoDelete.h"

/// Reads an LDIF file as fgets into a buffer of 4096 bytes would: a physical line ends behind its
/// line feed, or after 4095 bytes; the rest of a longer one is then read as further lines, its
/// pieces. NUL bytes are bytes like others. Behind it are block reads, so that anything that can be
/// read once will do: a file, a FIFO, standard input.
///
/// A logical line is a physical line and those appended to it. Its bytes stand together, as read.
class LineReader {
 public:
  static constexpr std::size_t maximalPhysicalLine = 4095;

  /// Reads from the descriptor of `stream`, of which nothing may have been read; the stream stays
  /// open.
  explicit LineReader(std::FILE* stream);

  /// Starts a new logical line with the next physical line. False where nothing could be read: a
  /// read error, or the end of the input.
  bool readLine();

  /// Appends the next physical line to the logical line; false as above.
  bool appendLine();

  /// Whether the next byte of the input is a blank. At the end of the input and after a read error
  /// it is not.
  bool nextIsBlank();

  /// Whether reading has met the end of the input; a last line without a line feed sets it too.
  bool atEnd() const { return atEnd_; }

  /// The logical line; valid until the next call of a function above. Not NUL-terminated.
  const char* data() const { return block_ + lineBegin_; }
  std::size_t size() const { return lineEnd_ - lineBegin_; }

  /// Whether the logical line starts with a piece of a physical line that is not its first.
  bool startsWithLaterPiece() const { return startsWithLaterPiece_; }

 private:
  bool fill();
  void makeRoom();

  int file_;
  AutoDelete<char> holder_;
  char* block_;           // what holder_ owns
  std::size_t capacity_;  // of the block
  std::size_t dataEnd_ = 0;
  std::size_t lineBegin_ = 0;
  std::size_t lineEnd_ = 0;
  bool atEnd_ = false;
  bool lastLineEnded_ = true;  // the last physical line had its line feed
  bool startsWithLaterPiece_ = false;
};

#endif
