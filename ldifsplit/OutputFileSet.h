// The output files of one split.
#ifndef LDIFSPLIT_OUTPUTFILESET_H
#define LDIFSPLIT_OUTPUTFILESET_H

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
  /// The stream of the file. Where the set does not have it yet, it is created or emptied and gets
  /// its header; throws LdifSplitException, line 0, where that fails.
  std::FILE* open(const std::string& name);

  /// Closes every file, in ascending order of their names, also when one fails. Throws
  /// SplitOutputException with `line` for the first whose content may not be complete.
  void closeAll(int line);

 private:
  std::map<std::string, std::FILE*> nametofp;
  std::vector<char*> buffers_;  // of the open streams, and theirs for as long as they are open
};

}  // namespace ldifsplit

#endif
