#include "ldifsplit/OutputFileSet.h"

#include <cassert>

#include "ldifsplit/LdifSplitException.h"
#include "ldifsplit/SplitOutputException.h"
#include "ldifsplit/openNewLdif.h"

namespace ldifsplit {

std::FILE* OutputFileSet::open(const std::string& nextFilename) {
  auto found = nametofp.find(nextFilename);
  if (found == nametofp.end()) {
    std::FILE* const opened = openNewLdif<LdifSplitException>(nextFilename.c_str());
    found = nametofp.emplace(nextFilename, opened).first;
  }
  assert(found != nametofp.end());
  std::FILE* const outfile = found->second;
  assert(outfile != nullptr);
  return outfile;
}

void OutputFileSet::closeAll(int line) {
  const std::string* failed = nullptr;
  for (const auto& file : nametofp) {
    // A write that failed before, unnoticed then, shows here too.
    const bool incomplete = std::ferror(file.second) != 0;
    const bool closed = std::fclose(file.second) == 0;
    if ((incomplete || !closed) && failed == nullptr) {
      failed = &file.first;
    }
  }
  if (failed != nullptr) {
    const std::string name = *failed;
    nametofp.clear();
    throwFileWriteException<SplitOutputException>(name, line);
  }
  nametofp.clear();
}

}  // namespace ldifsplit
