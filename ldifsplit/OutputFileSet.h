// The output files of one split.
#ifndef LDIFSPLIT_OUTPUTFILESET_H
#define LDIFSPLIT_OUTPUTFILESET_H

#include <cstdio>
#include <map>
#include <string>

namespace ldifsplit {

/// The open output streams by file name, each opened once and shared by all who name it. Where an
/// exception ends the split the streams stay open, and what they hold is written when the process
/// exits.
class OutputFileSet {
 public:
  /// Opens the file where the set does not have it yet: creates or empties it and writes the
  /// header. Throws LdifSplitException, line 0.
  void open(const std::string& name);

  /// The stream of a file that was opened.
  std::FILE* stream(const std::string& name) const;

  /// Closes every file, in ascending order of their names, also when one fails. Throws
  /// SplitOutputException with `line` for the first whose content may not be complete.
  void closeAll(int line);

 private:
  std::map<std::string, std::FILE*> nametofp;
};

}  // namespace ldifsplit

#endif
