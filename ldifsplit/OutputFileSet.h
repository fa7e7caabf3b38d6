// The output files of one split.
#ifndef LDIFSPLIT_OUTPUTFILESET_H
#define LDIFSPLIT_OUTPUTFILESET_H

#include <cstddef>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace ldifsplit {

/// The open output streams by file name, each opened once and shared by all who name it. Where an
/// exception ends the split the streams stay open, and what they hold is written when the process
/// exits.
class OutputFileSet {
 public:
  /// The size of a stream's buffer: fewer and larger writes than with the library's own.
  static constexpr std::size_t bufferSize = std::size_t{64} * 1024;

  /// Creates or empties the file and gives it its header, unless the set has it already; throws
  /// LdifSplitException, line 0, where that fails.
  void open(const std::string& nextFilename);

  /// The stream of a file that is open.
  std::FILE* stream(const std::string& nextFilename);

  /// Closes every file, in ascending order of their names, also when one fails. Throws
  /// SplitOutputException with `line` for the first whose content may not be complete, or that was
  /// removed since it was opened.
  void closeAll(int line);

 private:
  std::map<std::string, std::FILE*> nametofp;
  std::vector<char*> buffers_;  // of the streams, theirs for as long as they are open
};

}  // namespace ldifsplit

#endif
