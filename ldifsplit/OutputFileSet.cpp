#include "ldifsplit/OutputFileSet.h"

#include <cassert>
#include <cerrno>
#include <memory>

#include "common/SystemFailure.h"
#include "ldifsplit/LdifSplitException.h"
#include "ldifsplit/SplitOutputException.h"
#include "ldifsplit/openNewLdif.h"

namespace ldifsplit {

// In C++14 a constant that is taken by reference needs a definition of its own.
constexpr std::size_t OutputFileSet::bufferSize;

void OutputFileSet::open(const std::string& nextFilename) {
  if (nametofp.find(nextFilename) != nametofp.end()) {
    return;
  }
  std::unique_ptr<char[]> buffer(new char[bufferSize]);
  buffers_.reserve(buffers_.size() + 1);
  std::FILE* const opened =
      openNewLdif<LdifSplitException>(nextFilename.c_str(), buffer.get(), bufferSize);
  buffers_.push_back(buffer.release());
  nametofp.emplace(nextFilename, opened);
}

std::FILE* OutputFileSet::stream(const std::string& nextFilename) {
  assert(nametofp.find(nextFilename) != nametofp.end());
  std::FILE* const outfile = nametofp[nextFilename];
  assert(outfile != __null);
  return outfile;
}

void OutputFileSet::closeAll(int line) {
  std::string failed;
  bool anyFailed = false;
  for (const auto& file : nametofp) {
    // A write that failed before, unnoticed then, shows here too.
    const bool incomplete = std::ferror(file.second) != 0;
    errno = 0;  // of a write that failed before the reason is lost, unless it comes again
    const bool closed = std::fclose(file.second) == 0;
    if ((incomplete || !closed) && !anyFailed) {
      anyFailed = true;
      noteSystemFailure(file.first);
      failed = file.first;
    }
  }
  nametofp.clear();
  for (const char* buffer : buffers_) {
    delete[] buffer;
  }
  buffers_.clear();
  if (anyFailed) {
    throwFileWriteException<SplitOutputException>(failed, line);
  }
}

}  // namespace ldifsplit
