#include "ldifsplit/OutputFileSet.h"

#include <sys/stat.h>

#include <cassert>
#include <cerrno>
#include <memory>

#include "common/SystemFailure.h"
#include "ldifsplit/SplitOutputException.h"
#include "ldifsplit/openNewLdif.h"

namespace ldifsplit {

namespace {

constexpr std::size_t smallestBuffer =
    std::size_t{4} * 1024;  // a page, so that whole ones are written
constexpr std::size_t largestBuffer = std::size_t{64} * 1024;
constexpr std::size_t allBuffers = std::size_t{4} * 1024 * 1024;

std::size_t bufferSizeFor(std::size_t files) {
  std::size_t size = largestBuffer;
  while (size > smallestBuffer && size * files > allBuffers) {
    size /= 2;
  }
  return size;
}

/// Whether the file has no name any more, so that all that was written to it goes with the stream.
/// A file without a name that is reached in another way, such as /dev/stdout, is none.
bool isRemoved(const std::string& name, std::FILE* stream) {
  struct stat opened {};
  if (::fstat(::fileno(stream), &opened) != 0 || !S_ISREG(opened.st_mode) || opened.st_nlink != 0) {
    return false;
  }
  struct stat named {};
  return ::stat(name.c_str(), &named) != 0 || named.st_dev != opened.st_dev ||
         named.st_ino != opened.st_ino;
}

}  // namespace

OutputFileSet::OutputFileSet(std::size_t expectedFiles, SplitObserver& observer)
    : observer_(observer), bufferSize_(bufferSizeFor(expectedFiles)) {}

void OutputFileSet::open(const std::string& nextFilename) {
  if (nametofp.find(nextFilename) != nametofp.end()) {
    return;
  }
  std::unique_ptr<char[]> buffer(new char[bufferSize_]);
  buffers_.reserve(buffers_.size() + 1);
  std::FILE* const opened = observer_.openOutput(nextFilename, buffer.get(), bufferSize_);
  buffers_.push_back(buffer.release());
  nametofp.emplace(nextFilename, opened);
}

std::FILE* OutputFileSet::stream(const std::string& nextFilename) {
  assert(nametofp.find(nextFilename) != nametofp.end());
  std::FILE* const outfile = nametofp[nextFilename];
  assert(outfile != __null);  // NOLINT(modernize-use-nullptr): the text is known from reports
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
    errno = 0;  // of a write that failed before the reason is lost, unless it comes again
    const bool written = std::fflush(file.second) == 0 && std::ferror(file.second) == 0;
    const int reason = errno;
    const bool removed = isRemoved(file.first, file.second);
    errno = reason;
    const bool closed = std::fclose(file.second) == 0;
    file.second = nullptr;
    if ((!written || removed || !closed) && !anyFailed) {
      anyFailed = true;
      noteSystemFailure(file.first);
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
