// The whole split. Over several base DNs, one in another, with a file that two of them share, it
// does what a plain second split does: each output file is the same byte for byte, and so is the
// exception where it ends early; read from a file, and from a pipe that hands over pieces of any
// size. Each output file, read back, holds entries of the input in their order and nothing else,
// and no entry is missing.
//
// In the input a byte 1 stands for 1000 letters and a byte 2 for 95, so that a few bytes make a
// line of about 4095, the longest that is read in one piece.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "actors/ldifActorFactory.h"
#include "config/VarnelConfig.h"
#include "fuzz/CapturedMessages.h"
#include "fuzz/entriesOf.h"
#include "fuzz/require.h"
#include "ldifsplit/LdifSplit.h"
#include "testsupport/TemporaryDirectory.h"
#include "testsupport/plainSplit.h"

namespace {

/// The output streams of the split at hand. An exception leaves them open, as the tool wants it: it
/// ends then. Here they would become ever more.
struct OutputStream {
  std::FILE* stream;
  char* buffer;  // the stream's, the split's own memory; null where it has none
};
std::vector<OutputStream> openStreams;
std::size_t openedStreams = 0;  // how many there were

std::vector<OutputStream>::iterator placeOf(std::FILE* stream) {
  return std::find_if(openStreams.begin(), openStreams.end(),
                      [&](const OutputStream& open) { return open.stream == stream; });
}

std::FILE* noted(std::FILE* stream, const char* mode) {
  if (stream != nullptr && *mode == 'w') {
    openStreams.push_back({stream, nullptr});
    ++openedStreams;
  }
  return stream;
}

/// Where it is set, how many bytes the next read returns at the most.
std::function<std::size_t()> pieceSize;

/// Writes what they hold, as the end of the process would.
void closeStreams() {
  while (!openStreams.empty()) {
    char* const buffer = openStreams.back().buffer;
    require(std::fclose(openStreams.back().stream) == 0, "an output file takes what was written");
    delete[] buffer;
  }
}

}  // namespace

// The program is linked so that these are called in place of the functions of the C library.
extern "C" {
// The name of fopen where files may be large.
std::FILE* __real_fopen64(const char* path, const char* mode);
int __real_setvbuf(std::FILE* stream, char* buffer, int mode, std::size_t size);
int __real_fclose(std::FILE* stream);
ssize_t __real_read(int file, void* buffer, std::size_t size);

std::FILE* __wrap_fopen64(const char* path, const char* mode) {
  return noted(__real_fopen64(path, mode), mode);
}

int __wrap_setvbuf(std::FILE* stream, char* buffer, int mode, std::size_t size) {
  const auto open = placeOf(stream);
  if (open != openStreams.end()) {
    open->buffer = buffer;
  }
  return __real_setvbuf(stream, buffer, mode, size);
}

int __wrap_fclose(std::FILE* stream) {
  const auto open = placeOf(stream);
  if (open != openStreams.end()) {
    openStreams.erase(open);
  }
  return __real_fclose(stream);
}

ssize_t __wrap_read(int file, void* buffer, std::size_t size) {
  return __real_read(file, buffer, pieceSize ? std::min(size, pieceSize()) : size);
}
}

namespace {

/// The base DNs, their servers, and a directory in memory where the files are.
class Setting {
 public:
  Setting() : directory_("/dev/shm/varnel-whole-split-fuzz-" + std::to_string(::getpid())) {
    servers_["O=X"] = {path("x1"), path("x2"), path("x3")};
    servers_["OU=IN,O=X"] = {path("in1"), path("x2")};
    servers_["DC=Y"] = {path("y1")};
    VarnelConfig config("none", false);
    for (const auto& base : servers_) {
      auto& records = config.baseDNSections_[base.first];
      for (const std::string& file : base.second) {
        records.push_back({{"url", "ldap://h"}, {"file", file}});
      }
      records.push_back({{"", ""}, {"", ""}});
      config.splitTypes_[base.first] = VarnelConfig::splitByHash;
    }
    actors_ = ldifActorFactory(config);
  }

  std::string path(const std::string& name) const { return directory_.path(name); }
  std::string defaultFile() const { return path("default"); }
  const ServerFiles& servers() const { return servers_; }
  const TemporaryDirectory& directory() const { return directory_; }

  /// Splits the file or pipe of this name.
  SplitOutcome split(const std::string& input, int firstLine) const {
    removeFiles();
    openedStreams = 0;
    SplitOutcome outcome;
    CapturedMessages messages;
    try {
      ldifsplit::ldifSplit(input, actors_, defaultFile(), "", firstLine);
    } catch (const ldifsplit::LdifSplitException& stop) {
      outcome.kind = SplitOutcome::splitException;
      outcome.line = stop.line();
      outcome.message = stop.message();
    } catch (const ldifsplit::SplitOutputException& stop) {
      outcome.kind = SplitOutcome::outputException;
      outcome.line = stop.line();
      outcome.message = stop.message();
    }
    const std::string printed = messages.end();
    require(outcome.kind != SplitOutcome::finished || openStreams.empty(),
            "a finished split leaves no file open");
    closeStreams();
    readFiles(outcome);
    require(outcome.files.size() == openedStreams, "each output file is opened once");
    outcome.isReported = printed.find("VNL032033E: ") != std::string::npos;
    require(
        !outcome.isReported || (printed.find(std::to_string(outcome.line)) != std::string::npos &&
                                printed.find(input) != std::string::npos),
        "the message names the line and the file");
    return outcome;
  }

 private:
  std::vector<std::string> files() const {
    std::vector<std::string> names = {defaultFile()};
    for (const auto& base : servers_) {
      names.insert(names.end(), base.second.begin(), base.second.end());
    }
    return names;
  }

  void removeFiles() const {
    for (const std::string& name : files()) {
      ::unlink(name.c_str());
    }
  }

  void readFiles(SplitOutcome& outcome) const {
    for (const std::string& name : files()) {
      std::FILE* const file = __real_fopen64(name.c_str(), "r");
      if (file == nullptr) {
        continue;
      }
      std::string& content = outcome.files[name];
      content.clear();
      char block[65536];
      for (std::size_t count = 0; (count = std::fread(block, 1, sizeof block, file)) > 0;) {
        content.append(block, count);
      }
      std::fclose(file);
    }
  }

  TemporaryDirectory directory_;
  ServerFiles servers_;
  std::map<std::string, LdifActor*> actors_;
};

/// A pipe that holds all of a text, and hands it over in pieces of random sizes.
class PipeOfPieces {
 public:
  PipeOfPieces(const std::string& text, std::mt19937& random) {
    int ends[2];
    require(::pipe(ends) == 0, "there is a pipe");
    const int capacity = 1 << 20;
    require(::fcntl(ends[1], F_SETPIPE_SZ, capacity) >= capacity, "it has room");
    require(::write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size()),
            "it takes the text");
    ::close(ends[1]);
    end_ = ends[0];
    const std::size_t largest = text.size() / (1 + random() % 200) + 2;
    pieceSize = [&random, largest] { return 1 + random() % largest; };
  }
  ~PipeOfPieces() {
    pieceSize = nullptr;
    ::close(end_);
  }
  PipeOfPieces(const PipeOfPieces&) = delete;
  PipeOfPieces& operator=(const PipeOfPieces&) = delete;

  std::string name() const { return "/dev/fd/" + std::to_string(end_); }

 private:
  int end_;
};

std::string expanded(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t limit = 100000;
  std::string text;
  for (std::size_t i = 0; i < size && text.size() < limit; ++i) {
    if (data[i] == 1) {
      text.append(1000, 'a');
    } else if (data[i] == 2) {
      text.append(95, 'a');
    } else {
      text += static_cast<char>(data[i]);
    }
  }
  return text;
}

/// An entry that ends where the bytes behind it stand astride a boundary of the block that is read
/// or of the stream that is written.
std::string filler(std::size_t behind, std::mt19937& random) {
  const std::size_t boundaries[] = {65536, 131072, 262144, 524288};
  const std::size_t boundary = boundaries[random() % 4];
  std::string text = "dn: cn=filler,dc=y\n";
  const std::size_t lineSize = 20 + random() % 2000;
  const std::size_t wanted = boundary - random() % std::min(behind + 40, boundary);
  while (text.size() < wanted) {
    const std::size_t size = std::min(lineSize, std::max(wanted - text.size(), std::size_t{8}));
    text += "sn: " + std::string(size - 5, 'f') + "\n";
  }
  return text;
}

void requireSame(const SplitOutcome& actual, const SplitOutcome& wanted) {
  require(actual.kind == wanted.kind, "the split ends in the same way");
  require(actual.line == wanted.line, "at the same line");
  require(actual.message == wanted.message, "with the same message");
  require(actual.isReported == wanted.isReported, "reported likewise");
  require(actual.files == wanted.files, "the output files are the same");
}

bool hasOverlongLine(const std::string& text) {
  std::size_t begin = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '\n') {
      begin = at + 1;
    } else if (at - begin >= 4094) {
      return true;
    }
  }
  return false;
}

/// Marks in `isFound` which entries of the input an output file has.
void readBack(const std::string& output, const std::vector<PlainEntry>& entries, bool isFinished,
              std::vector<bool>& isFound) {
  const std::string header = "version: 1\n\n";
  require(output.compare(0, header.size(), header) == 0, "an output file begins with its header");
  std::size_t next = 0;
  const std::vector<PlainEntry> written = entriesOf(output.substr(header.size()));
  for (const PlainEntry& entry : written) {
    const bool mayBeCut = !isFinished && &entry == &written.back();
    const auto isIt = [&](const PlainEntry& candidate) {
      return candidate.dn == entry.dn &&
             (candidate.lines == entry.lines ||
              (mayBeCut && candidate.lines.compare(0, entry.lines.size(), entry.lines) == 0));
    };
    while (next < entries.size() && !isIt(entries[next])) {
      ++next;
    }
    require(next < entries.size(), "an entry that was written is one that was read");
    isFound[next] = true;
    ++next;
  }
}

/// For inputs whose lines are read in one piece. In others a piece may be a line of its own.
void checkEntries(const std::string& input, const SplitOutcome& outcome, int firstLine) {
  std::vector<PlainEntry> entries = entriesOf(input);
  entries.erase(
      std::remove_if(entries.begin(), entries.end(),
                     [firstLine](const PlainEntry& entry) { return entry.line < firstLine; }),
      entries.end());
  std::vector<bool> isFound(entries.size());
  const bool isFinished = outcome.kind == SplitOutcome::finished;
  for (const auto& file : outcome.files) {
    readBack(file.second, entries, isFinished, isFound);
  }
  // A single line without a line feed is not looked at.
  if (isFinished && input.find('\n') != std::string::npos) {
    require(std::find(isFound.begin(), isFound.end(), false) == isFound.end(),
            "no entry is missing");
  }
}

void check(const std::string& input, int firstLine, bool fromPipe, std::mt19937& random) {
  static const Setting setting;
  const SplitOutcome wanted =
      plainSplit(input, setting.servers(), setting.defaultFile(), firstLine);
  if (fromPipe) {
    const PipeOfPieces pipe(input, random);
    requireSame(setting.split(pipe.name(), firstLine), wanted);
  } else {
    const std::string file = setting.directory().write("input", input);
    requireSame(setting.split(file, firstLine), wanted);
  }
  if (!hasOverlongLine(input) && input.find('\0') == std::string::npos) {
    checkEntries(input, wanted, firstLine);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input = expanded(data, size);
  std::uint32_t seed = 1;
  for (const char c : input) {
    seed = seed * 31 + static_cast<unsigned char>(c);
  }
  // The same input always does the same.
  std::mt19937 random(seed);
  const auto oneOf = [&](unsigned int count) { return random() % count == 0; };
  check(input, 0, false, random);
  check(input, oneOf(2) ? static_cast<int>(random() % 12) : 0, true, random);
  if (oneOf(32)) {
    check(filler(input.size(), random) + input, 0, oneOf(2), random);
  }
  return 0;
}
