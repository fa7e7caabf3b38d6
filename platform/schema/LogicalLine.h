// The logical lines of a schema file: a line with the lines that continue it.
#ifndef PLATFORM_SCHEMA_LOGICALLINE_H
#define PLATFORM_SCHEMA_LOGICALLINE_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace schema {

/// How a file is written.
enum class FileForm {
  ldif,       ///< RFC 2849: `type: value`, continued by lines that begin with one space
  directives  ///< `keyword value`, continued by lines that begin with any blank
};

/// One logical line. Its views last until the reader's next call.
struct LogicalLine {
  /// Without the line end. In LDIF the folds are out of it; among directives the inner line ends
  /// stay, as the blanks that they are.
  std::string_view text;
  std::size_t firstLine = 0;        ///< number of its first physical line, from 1
  std::vector<std::size_t> breaks;  ///< offsets in `text` at which a further physical line begins

  /// The physical line that the byte at `offset` of `text` stands on.
  std::size_t lineOf(std::size_t offset) const;
};

/// Takes a text apart. Comments (`#` in the first column, with their continuations) and lines of
/// nothing but blanks are left out, a byte order mark at the start too. A line end is LF or CR LF.
class LogicalLineReader {
 public:
  /// What most lines look like tells the form, so that one spoilt line does not spoil the others.
  /// `text` has to outlive the reader.
  explicit LogicalLineReader(std::string_view text);

  FileForm form() const { return form_; }

  /// Reads the next line into `line`; false at the end of the text.
  bool next(LogicalLine& line);

 private:
  FileForm findForm();
  std::string_view takePhysicalLine();
  bool atContinuation() const;
  void readContinuations(LogicalLine& line, std::size_t start);

  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t lineNumber_ = 0;
  FileForm form_ = FileForm::directives;
  std::string unfolded_;
};

}  // namespace schema

#endif
