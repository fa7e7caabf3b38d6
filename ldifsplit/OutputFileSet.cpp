#include "ldifsplit/OutputFileSet.h"

#include <cassert>
#include <memory>

#include "ldifsplit/LdifSplitException.h"
#include "ldifsplit/SplitOutputException.h"
#include "ldifsplit/openNewLdif.h"

namespace ldifsplit {

namespace {

constexpr std::size_t smallestBuffer =
    std::size_t{4} * 1024;  // a page, so that whole ones are written
constexpr std::size_t largestBuffer = std::size_t{64} * 1024;
constexpr std::size_t allBuffers = std::size_t{1024} * 1024;

std::size_t bufferSizeFor(std::size_t files) {
  std::size_t size = largestBuffer;
  while (size > smallestBuffer && size * files > allBuffers) {
    size /= 2;
  }
  return size;
}

}  // namespace

OutputFileSet::OutputFileSet(std::size_t expectedFiles)
    : bufferSize_(bufferSizeFor(expectedFiles)) {}

void OutputFileSet::open(const std::string& nextFilename) {
  if (nametofp.find(nextFilename) != nametofp.end()) {
    return;
  }
  std::unique_ptr<char[]> buffer(new char[bufferSize_]);
  buffers_.reserve(buffers_.size() + 1);
  std::FILE* const opened =
      openNewLdif<LdifSplitException>(nextFilename.c_str(), buffer.get(), bufferSize_);
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
  for (auto& file : nametofp) {
    if (file.second == nullptr) {
      continue;
    }
    // A write that failed before, unnoticed then, shows here too.
    const bool incomplete = std::ferror(file.second) != 0;
    const bool closed = std::fclose(file.second) == 0;
    file.second = nullptr;
    if ((incomplete || !closed) && !anyFailed) {
      anyFailed = true;
      failed = file.first;
    }
  }
  for (const char* buffer : buffers_) {
    delete[] buffer;
  }
  buffers_.clear();
  if (anyFailed) {
    throwFileWriteException<SplitOutputException>(failed, line);
  }
}

}  // namespace ldifsplit
