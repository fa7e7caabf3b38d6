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
  /// Without the last line end. An LDIF line that was continued is joined into one; in the text of
  /// a directive the line ends in between stay, where they count as blanks.
  std::string_view text;
  std::size_t firstLine = 0;        ///< number of its first physical line, from 1
  std::vector<std::size_t> breaks;  ///< offsets in `text` at which a further physical line begins

  /// The physical line that the byte at `offset` of `text` stands on.
  std::size_t lineOf(std::size_t offset) const;
};

/// Reads a text line by line. Comments (`#` in the first column, and the lines that continue them),
/// lines of nothing but blanks, and a byte order mark at the start are left out. A line end is LF
/// or CR LF.
class LogicalLineReader {
 public:
  /// Takes the text for LDIF or for directives, whichever more of its lines look like; so one
  /// damaged line changes nothing for the others. `text` has to outlive the reader.
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
