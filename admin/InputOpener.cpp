#include "admin/InputOpener.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <vector>

#include "admin/exitStatus.h"
#include "driver/foreignFormat.h"

namespace {

constexpr std::size_t blockSize = std::size_t{256} * 1024;

struct ArchiveCloser {
  void operator()(archive* reader) const { archive_read_free(reader); }
};

using Archive = std::unique_ptr<archive, ArchiveCloser>;

/// False where nobody reads any more.
bool writeAll(int file, const char* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t written = ::write(file, bytes, size);
    if (written < 0 && errno == EINTR) {
      continue;
    }
    if (written <= 0) {
      return false;
    }
    bytes += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}

}  // namespace

InputOpener::~InputOpener() {
  stop();
}

AutoClose InputOpener::open(const std::string& name) {
  stop();
  name_ = name;
  fault_.clear();
  size_ = 0;
  AutoClose stream(std::fopen(name.c_str(), "r"));
  if (stream == nullptr) {
    return stream;
  }
  struct stat status {};
  const bool isFile = ::fstat(::fileno(stream.get()), &status) == 0 && S_ISREG(status.st_mode);
  if (isFile) {
    size_ = static_cast<std::uint64_t>(status.st_size);
  }
  file_ = ::fileno(stream.get());
  const bool isPacked = isCompressed(foreignFormat(name));
  if (isFile && !isPacked) {
    return stream;
  }
  std::array<int, 2> ends{};
  const int packed = ::dup(file_);
  if (packed < 0 || ::pipe(ends.data()) != 0) {
    return nullptr;
  }
  file_ = packed;
  thread_ = std::thread([this, packed, isPacked, to = ends[1]] { unpack(packed, to, isPacked); });
  return AutoClose(::fdopen(ends[0], "r"));
}

/// The thread: unpacks until the end, a fault, or until nobody reads any more.
void InputOpener::unpack(int from, int to, bool isPacked) {
  const Archive reader(archive_read_new());
  archive_read_support_filter_gzip(reader.get());
  archive_read_support_filter_bzip2(reader.get());
  archive_read_support_filter_xz(reader.get());
  archive_read_support_filter_zstd(reader.get());
  archive_read_support_format_raw(reader.get());
  archive_read_support_format_empty(reader.get());
  archive_entry* entry = nullptr;
  std::vector<char> block(blockSize);
  int result = archive_read_open_fd(reader.get(), from, blockSize);
  if (result == ARCHIVE_OK) {
    result = archive_read_next_header(reader.get(), &entry);
  }
  if (result == ARCHIVE_OK && isPacked &&
      archive_filter_code(reader.get(), 0) == ARCHIVE_FILTER_NONE) {
    // Not even its header is whole, so that the library takes it for plain data.
    fault_ = "truncated input";
    result = ARCHIVE_EOF;
  }
  while (result == ARCHIVE_OK) {
    const la_ssize_t unpacked = archive_read_data(reader.get(), block.data(), block.size());
    if (unpacked == 0) {
      result = ARCHIVE_EOF;
    } else if (unpacked < 0) {
      result = ARCHIVE_FATAL;
    } else if (!writeAll(to, block.data(), static_cast<std::size_t>(unpacked))) {
      break;
    }
  }
  if (result != ARCHIVE_OK && result != ARCHIVE_EOF) {
    const char* const reason = archive_error_string(reader.get());
    fault_ = reason != nullptr ? reason : "it cannot be unpacked";
  }
  ::close(to);
}

void InputOpener::stop() {
  if (thread_.joinable()) {
    thread_.join();
    ::close(file_);
  }
  file_ = -1;
}

void InputOpener::requireWhole() {
  stop();
  if (!fault_.empty()) {
    throw SystemError(name_ + ": " + fault_);
  }
}

std::uint64_t InputOpener::taken() const {
  const off_t at = size_ > 0 ? ::lseek(file_, 0, SEEK_CUR) : 0;
  return at > 0 ? static_cast<std::uint64_t>(at) : 0;
}
