#include "ldifsplit/OutputFileSet.h"

#include <cassert>
#include <memory>

#include "ldifsplit/LdifSplitException.h"
#include "ldifsplit/SplitOutputException.h"
#include "ldifsplit/openNewLdif.h"

namespace ldifsplit {

namespace {

/// Fewer and larger writes than the library's own buffer makes.
constexpr std::size_t bufferSize = std::size_t{64} * 1024;

}  // namespace

std::FILE* OutputFileSet::open(const std::string& nextFilename) {
  auto found = nametofp.find(nextFilename);
  if (found == nametofp.end()) {
    std::unique_ptr<char[]> buffer(new char[bufferSize]);
    buffers_.reserve(buffers_.size() + 1);
    std::FILE* const opened =
        openNewLdif<LdifSplitException>(nextFilename.c_str(), buffer.get(), bufferSize);
    buffers_.push_back(buffer.release());
    found = nametofp.emplace(nextFilename, opened).first;
  }
  assert(found != nametofp.end());
  std::FILE* const outfile = found->second;
  assert(outfile != nullptr);
  return outfile;
}

void OutputFileSet::closeAll(int line) {
  std::string failed;
  bool anyFailed = false;
  for (const auto& file : nametofp) {
    // A write that failed before, unnoticed then, shows here too.
    const bool incomplete = std::ferror(file.second) != 0;
    const bool closed = std::fclose(file.second) == 0;
    if ((incomplete || !closed) && !anyFailed) {
      anyFailed = true;
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
