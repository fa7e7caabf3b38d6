#include "ldifsplit/OutputFileSet.h"

#include <cassert>

#include "ldifsplit/LdifSplitException.h"
#include "ldifsplit/SplitOutputException.h"
#include "ldifsplit/openNewLdif.h"

namespace ldifsplit {

void OutputFileSet::open(const std::string& name) {
  if (nametofp.find(name) == nametofp.end()) {
    nametofp[name] = openNewLdif<LdifSplitException>(name.c_str());
  }
}

std::FILE* OutputFileSet::stream(const std::string& nextFilename) const {
  assert(nametofp.find(nextFilename) != nametofp.end());
  std::FILE* outfile = nametofp.find(nextFilename)->second;
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
