// The output files of one split.
#ifndef LDIFSPLIT_OUTPUTFILESET_H
#define LDIFSPLIT_OUTPUTFILESET_H

#include <cstddef>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "ldifsplit/SplitObserver.h"

namespace ldifsplit {

/// The open output streams by file name, each opened once and shared by all who name it. Where an
/// exception ends the split the streams stay open, and what they hold is written when the process
/// exits.
class OutputFileSet {
 public:
  /// `expectedFiles`: how many there may be in all. It decides on the size of the buffers. The
  /// observer, which opens the files, has to outlive the set.
  OutputFileSet(std::size_t expectedFiles, SplitObserver& observer);

  /// The size of each stream's buffer. Few files get large buffers, for fewer writes; those of many
  /// files have to stay in the processor's cache together, or each entry waits for memory.
  std::size_t bufferSize() const { return bufferSize_; }

  /// Has the file opened, with its header, unless the set has it already; throws
  /// LdifSplitException, line 0, where that fails.
  void open(const std::string& nextFilename);

  /// The stream of a file that is open.
  std::FILE* stream(const std::string& nextFilename);

  /// Closes every file, in ascending order of their names, also when one fails. Throws
  /// SplitOutputException with `line` for the first whose content may not be complete, or that was
  /// removed since it was opened.
  void closeAll(int line);

 private:
  SplitObserver& observer_;
  const std::size_t bufferSize_;
  std::map<std::string, std::FILE*> nametofp;  // a null pointer once a file is closed
  std::vector<char*> buffers_;  // of the streams, theirs for as long as they are open
};

}  // namespace ldifsplit

#endif
