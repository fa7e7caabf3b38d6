// LDIF lines made short (RFC 2849, note 2 of its grammar: any line may be folded).
#ifndef ADMIN_LINEFOLDING_H
#define ADMIN_LINEFOLDING_H

#include <cstddef>
#include <memory>
#include <string>

#include "admin/StandardOutput.h"

/// Copies LDIF and folds each physical line of more than 76 bytes, comments too: no line of the
/// copy is longer, its line end not counted. All else stays byte for byte, folds that are there
/// among it, so that both unfold to the same text, and folding the copy again changes nothing.
///
/// A UTF-8 character is never divided; each byte that is part of none counts as a character. Memory
/// does not grow with the input or its lines.
///
/// The line end of a fold, LF or CR LF, is that of the line before. In the first line it is the
/// first line end of the input or, where the first 256 kB have none, LF: the end of a line that
/// long is not waited for. A fold behind a CR is a CR LF whatever the others are, since a LF there
/// would make the CR a part of the fold.
class LineFolding {
 public:
  /// Reads from the descriptor `input`; `name` is what errors call it.
  LineFolding(int input, std::string name, StandardOutput& output);

  /// Copies all. Throws SystemError where the input cannot be read or the output not be written.
  void run();

 private:
  static constexpr std::size_t longestLine = 76;
  static constexpr std::size_t capacity = std::size_t{256} * 1024;
  /// So many bytes are there, unless the input ends, whenever a decision is made: a line, its line
  /// end, and the rest of a character that begins in it.
  static constexpr std::size_t lookAhead = longestLine + 4;

  const char* at() const { return block_.get() + begin_; }
  std::size_t available() const { return end_ - begin_; }

  void learnFirstLineEnd();
  bool fill();
  void takeShortLines();
  void takeLineOrPiece();
  bool takeRestOfLine(std::size_t room);
  void fold(std::size_t room);
  void learn(const char* line, std::size_t size);

  const int input_;
  const std::string name_;
  StandardOutput& output_;
  std::unique_ptr<char[]> block_;
  std::size_t begin_ = 0;  // of what is not copied yet
  std::size_t end_ = 0;
  bool atEnd_ = false;
  bool isFolded_ = false;  // the line at hand is the rest of one, behind a fold of ours
  const char* lineEnd_ = "\n";
};

#endif
