#include "admin/InputOpener.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

#include "admin/exitStatus.h"
#include "driver/foreignFormat.h"
#include "platform/text/lastError.h"

namespace {

constexpr std::size_t blockSize = std::size_t{256} * 1024;

struct ArchiveCloser {
  void operator()(archive* reader) const { archive_read_free(reader); }
};

using Archive = std::unique_ptr<archive, ArchiveCloser>;

/// The bytes of a descriptor, as the library asks for them.
class Source {
 public:
  explicit Source(int file) : file_(file), block_(blockSize), blockBefore_(blockSize) {}

  /// The size of the next block, which is in data() then; 0 at the end, negative with the reason in
  /// errno.
  ssize_t readBlock() {
    std::swap(blockBefore_, block_);
    sizeBefore_ = size_;
    ssize_t count = 0;
    do {
      count = ::read(file_, block_.data(), block_.size());
    } while (count < 0 && errno == EINTR);
    size_ = count > 0 ? static_cast<std::size_t>(count) : 0;
    given_ += size_;
    return count;
  }

  const char* data() const { return block_.data(); }

  /// Whether behind the first `taken` bytes there are zeros alone, as where a file was padded, or
  /// nothing. Reads to the end.
  bool isPaddingBehind(std::uint64_t taken) {
    // The library looks ahead: by less than two blocks, unless they come in tiny pieces.
    const std::uint64_t ahead = given_ - taken;
    if (ahead > size_ + sizeBefore_) {
      return false;
    }
    const std::size_t ofLast = std::min<std::size_t>(ahead, size_);
    bool isPadding = endsWithZeros(blockBefore_.data() + sizeBefore_, ahead - ofLast) &&
                     endsWithZeros(block_.data() + size_, ofLast);
    ssize_t count = 1;
    while (isPadding && count > 0) {
      count = readBlock();
      isPadding = count >= 0 && endsWithZeros(block_.data() + size_, size_);
    }
    return isPadding;
  }

 private:
  static bool endsWithZeros(const char* end, std::size_t size) {
    return std::all_of(end - size, end, [](char c) { return c == '\0'; });
  }

  int file_;
  std::vector<char> block_;
  std::vector<char> blockBefore_;
  std::size_t size_ = 0;
  std::size_t sizeBefore_ = 0;
  std::uint64_t given_ = 0;  // bytes in all
};

la_ssize_t giveBlock(archive* reader, void* source, const void** bytes) {
  auto& from = *static_cast<Source*>(source);
  const ssize_t count = from.readBlock();
  if (count < 0) {
    archive_set_error(reader, errno, "%s", text::lastError().c_str());
  }
  *bytes = from.data();
  return count;
}

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
  const int packed = ::dup(file_);
  std::array<int, 2> ends{-1, -1};
  AutoClose unpacked;
  if (packed >= 0 && ::pipe(ends.data()) == 0) {
    unpacked.reset(::fdopen(ends[0], "r"));
  }
  if (unpacked == nullptr) {
    const int reason = errno;
    for (const int file : {packed, ends[0], ends[1]}) {
      if (file >= 0) {
        ::close(file);
      }
    }
    errno = reason;
    return unpacked;
  }
  file_ = packed;
  thread_ = std::thread([this, packed, isPacked, to = ends[1]] {
    fault_ = unpack(packed, to, isPacked);
    ::close(to);
  });
  return unpacked;
}

/// The thread: unpacks until the end, a fault, which it returns, or until nobody reads any more.
std::string InputOpener::unpack(int from, int to, bool isPacked) {
  const Archive reader(archive_read_new());
  archive_read_support_filter_gzip(reader.get());
  archive_read_support_filter_bzip2(reader.get());
  archive_read_support_filter_xz(reader.get());
  archive_read_support_filter_zstd(reader.get());
  archive_read_support_format_raw(reader.get());
  archive_read_support_format_empty(reader.get());
  Source source(from);
  archive_entry* entry = nullptr;
  int result = archive_read_open(reader.get(), &source, nullptr, giveBlock, nullptr);
  if (result == ARCHIVE_OK) {
    result = archive_read_next_header(reader.get(), &entry);
  }
  const bool isFiltered = archive_filter_code(reader.get(), 0) != ARCHIVE_FILTER_NONE;
  if (result == ARCHIVE_OK && isPacked && !isFiltered) {
    // Not even its header is whole, so that the library takes it for plain data.
    return "truncated input";
  }
  std::vector<char> block(blockSize);
  while (result == ARCHIVE_OK) {
    const la_ssize_t unpacked = archive_read_data(reader.get(), block.data(), block.size());
    if (unpacked == 0) {
      result = ARCHIVE_EOF;
    } else if (unpacked < 0) {
      result = ARCHIVE_FATAL;
    } else if (!writeAll(to, block.data(), static_cast<std::size_t>(unpacked))) {
      return "";
    }
  }
  if (result != ARCHIVE_EOF) {
    const char* const reason = archive_error_string(reader.get());
    return reason != nullptr ? reason : "it cannot be unpacked";
  }
  // Two of the formats end for the library wherever no other part of theirs begins.
  const auto used = static_cast<std::uint64_t>(archive_filter_bytes(reader.get(), -1));
  return !isFiltered || source.isPaddingBehind(used) ? ""
                                                     : "what follows the compressed data is none";
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
