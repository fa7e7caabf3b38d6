#include "ldifsplit/LineReader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <ostream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "common/AutoClose.h"
#include "testsupport/TemporaryDirectory.h"

namespace {

using ldifsplit::LineReader;

/// A logical line as the split reads it, and what is known behind it.
struct ReadLine {
  std::string bytes;
  bool later;
  bool atEnd;

  bool operator==(const ReadLine& other) const {
    return bytes == other.bytes && later == other.later && atEnd == other.atEnd;
  }
};

void PrintTo(const ReadLine& line, std::ostream* out) {
  *out << line.bytes.size() << " bytes, later " << line.later << ", at end " << line.atEnd << ", \""
       << line.bytes.substr(0, 60) << '"';
}

using ReadLines = std::vector<ReadLine>;

/// Reads everything as the split does: a line, its continuations, and so on to the end.
ReadLines linesOf(std::FILE* stream) {
  ReadLines lines;
  LineReader reader(stream);
  while (!reader.atEnd() && reader.readLine()) {
    while (reader.nextIsBlank()) {
      EXPECT_TRUE(reader.appendLine());
    }
    lines.push_back(
        {std::string(reader.data(), reader.size()), reader.startsWithLaterPiece(), reader.atEnd()});
  }
  return lines;
}

/// The same with fgets into a buffer of 4096 bytes, and a look at the next character that is pushed
/// back.
class FgetsReader {
 public:
  explicit FgetsReader(std::FILE* stream) : stream_(stream) {}

  ReadLines lines() {
    ReadLines lines;
    std::string line;
    while (std::feof(stream_) == 0) {
      line.clear();
      const bool later = !lastEnded_;
      if (!append(line)) {
        break;
      }
      while (nextIsBlank()) {
        EXPECT_TRUE(append(line));
      }
      lines.push_back({line, later, std::feof(stream_) != 0});
    }
    return lines;
  }

 private:
  bool append(std::string& line) {
    // The terminator is the last NUL of a buffer that holds none behind it.
    char buffer[4096];
    std::memset(buffer, 'x', sizeof buffer);
    if (std::fgets(buffer, sizeof buffer, stream_) == nullptr) {
      return false;
    }
    std::size_t size = sizeof buffer - 1;
    while (buffer[size] != '\0') {
      --size;
    }
    line.append(buffer, size);
    lastEnded_ = size > 0 && buffer[size - 1] == '\n';
    return true;
  }

  bool nextIsBlank() {
    const int next = std::fgetc(stream_);
    std::ungetc(next, stream_);
    return next == ' ';
  }

  std::FILE* stream_;
  bool lastEnded_ = true;
};

/// Gives the bytes to `read` through a pipe, in chunks of the sizes given, over and over.
template <typename Read>
ReadLines throughAPipe(const std::string& bytes, const std::vector<std::size_t>& chunks,
                       Read read) {
  int ends[2];
  EXPECT_EQ(::pipe(ends), 0);
  std::thread writer([&] {
    std::size_t written = 0;
    for (std::size_t i = 0; written < bytes.size(); ++i) {
      const std::size_t size = std::min(chunks[i % chunks.size()], bytes.size() - written);
      const ssize_t count = ::write(ends[1], bytes.data() + written, size);
      EXPECT_GT(count, 0);
      written += static_cast<std::size_t>(std::max(count, ssize_t{1}));
    }
    ::close(ends[1]);
  });
  const AutoClose stream(::fdopen(ends[0], "r"));
  const ReadLines lines = read(stream.get());
  writer.join();
  return lines;
}

ReadLines byLineReader(const std::string& bytes) {
  return throughAPipe(bytes, {65536}, linesOf);
}

std::string repeated(std::size_t count, char c) {
  return std::string(count, c);
}

struct InputRow {
  const char* name;
  std::string input;
  ReadLines lines;
};

void PrintTo(const InputRow& row, std::ostream* out) {
  *out << row.name;
}

class LinesOf : public ::testing::TestWithParam<InputRow> {};

TEST_P(LinesOf, AreReadAsFgetsWould) {
  EXPECT_EQ(byLineReader(GetParam().input), GetParam().lines);
  EXPECT_EQ(throughAPipe(GetParam().input, {65536},
                         [](std::FILE* stream) { return FgetsReader(stream).lines(); }),
            GetParam().lines);
}

TEST_P(LinesOf, AreTheSameByteByByte) {
  EXPECT_EQ(throughAPipe(GetParam().input, {1}, linesOf), GetParam().lines);
}

const std::string fullPiece(4095, 'a');

INSTANTIATE_TEST_SUITE_P(
    Rows, LinesOf,
    ::testing::Values(
        InputRow{"Nothing", "", {}}, InputRow{"OneLine", "a\n", {{"a\n", false, true}}},
        InputRow{"TwoLines", "a\nb\n", {{"a\n", false, false}, {"b\n", false, true}}},
        InputRow{"LastWithoutLineFeed", "a\nb", {{"a\n", false, false}, {"b", false, true}}},
        InputRow{"OnlyLineWithoutLineFeed", "a", {{"a", false, true}}},
        InputRow{"LineFeedsAlone", "\n\n", {{"\n", false, false}, {"\n", false, true}}},
        InputRow{"Continuations",
                 "a\n b\n  c\nd\n",
                 {{"a\n b\n  c\n", false, false}, {"d\n", false, true}}},
        InputRow{"ContinuationWithoutLineFeed", "a\n b", {{"a\n b", false, true}}},
        InputRow{"BlankAlone", " ", {{" ", false, true}}},
        InputRow{"BlankFirst", " a\nb\n", {{" a\n", false, false}, {"b\n", false, true}}},
        InputRow{"ContinuationOfAnEmptyLine", "\n b\n", {{"\n b\n", false, true}}},
        InputRow{
            "TabIsNoContinuation", "a\n\tb\n", {{"a\n", false, false}, {"\tb\n", false, true}}},
        InputRow{"NulBytes",
                 std::string("\0a\0\n\0", 5),
                 {{std::string("\0a\0\n", 4), false, false}, {std::string("\0", 1), false, true}}},
        InputRow{
            "CarriageReturns", "a\r\n\rb\n", {{"a\r\n", false, false}, {"\rb\n", false, true}}},
        InputRow{"Longest",
                 repeated(4094, 'a') + "\nb\n",
                 {{repeated(4094, 'a') + "\n", false, false}, {"b\n", false, true}}},
        InputRow{"LineFeedIsAPieceOfItsOwn",
                 fullPiece + "\nb\n",
                 {{fullPiece, false, false}, {"\n", true, false}, {"b\n", false, true}}},
        InputRow{"FullPieceAtTheEnd", fullPiece, {{fullPiece, false, true}}},
        InputRow{
            "TwoPieces", fullPiece + "bc\n", {{fullPiece, false, false}, {"bc\n", true, true}}},
        InputRow{"ThreePieces",
                 fullPiece + fullPiece + "b\nc\n",
                 {{fullPiece, false, false},
                  {fullPiece, true, false},
                  {"b\n", true, false},
                  {"c\n", false, true}}},
        InputRow{"PieceThatBeginsWithABlank",
                 fullPiece + " b\nc\n",
                 {{fullPiece + " b\n", false, false}, {"c\n", false, true}}},
        InputRow{"PieceOfAContinuation",
                 "a\n " + fullPiece + "b\n",
                 {{"a\n " + repeated(4094, 'a'), false, false}, {"ab\n", true, true}}}),
    [](const ::testing::TestParamInfo<InputRow>& row) { return row.param.name; });

/// Inputs of lines around all the limits, with every byte that means something.
class RandomInput {
 public:
  explicit RandomInput(unsigned int seed) : random_(seed) {}

  std::string next() {
    std::string input;
    for (int lines = below(12); lines > 0; --lines) {
      input += start();
      input += std::string(length(), below(3) == 0 ? '\0' : 'a');
      input += below(10) == 0 ? "" : "\n";
    }
    return input;
  }

  std::vector<std::size_t> chunks() {
    std::vector<std::size_t> sizes;
    for (int i = below(4) + 1; i > 0; --i) {
      const std::size_t large[] = {1, 2, 3, 7, 4094, 4095, 4096, 4097, 65536};
      sizes.push_back(large[below(9)]);
    }
    return sizes;
  }

 private:
  std::string start() {
    const char* const starts[] = {"", "", " ", " ", "  ", "#", "\r", "dn: ", "\n"};
    return starts[below(9)];
  }

  std::size_t length() {
    switch (below(5)) {
      case 0:
        return static_cast<std::size_t>(4088 + below(16));
      case 1:
        return static_cast<std::size_t>(8182 + below(16));
      case 2:
        return 0;
      default:
        return static_cast<std::size_t>(below(80));
    }
  }

  int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }

  std::mt19937 random_;
};

TEST(RandomLines, AgreeWithFgets) {
  RandomInput random(19991231);
  int pieces = 0;
  for (int i = 0; i < 1500; ++i) {
    const std::string input = random.next();
    // One byte at a time is slow, and the odd sizes are what matters.
    const ReadLines expected = throughAPipe(
        input, random.chunks(), [](std::FILE* stream) { return FgetsReader(stream).lines(); });
    ASSERT_EQ(throughAPipe(input, random.chunks(), linesOf), expected) << "input " << i;
    pieces += static_cast<int>(std::count_if(expected.begin(), expected.end(),
                                             [](const ReadLine& line) { return line.later; }));
  }
  // The inputs are worth the comparison.
  EXPECT_GT(pieces, 1000);
}

TEST(LineReader, LogicalLineMayBeLongerThanAnyBlock) {
  std::string line = "a: b\n";
  for (int i = 0; i < 30000; ++i) {
    line += " " + std::to_string(i) + repeated(70, 'x') + "\n";
  }
  ASSERT_GT(line.size(), 2000000U);
  EXPECT_EQ(byLineReader("first\n" + line + "last\n"),
            ReadLines({{"first\n", false, false}, {line, false, false}, {"last\n", false, true}}));
}

TEST(LineReader, ManyLinesMoveThroughTheBlock) {
  std::string input;
  ReadLines expected;
  for (int i = 0; i < 40000; ++i) {
    const std::string line =
        std::to_string(i) + ": " + repeated(static_cast<std::size_t>(i % 97), 'v') + "\n";
    input += line;
    expected.push_back({line, false, i == 39999});
  }
  EXPECT_EQ(byLineReader(input), expected);
}

class ReadErrors : public ::testing::Test {
 protected:
  TemporaryDirectory directory_;
};

TEST_F(ReadErrors, DirectoryCannotBeRead) {
  const AutoClose stream(std::fopen(directory_.name().c_str(), "r"));
  ASSERT_NE(stream, nullptr);
  LineReader reader(stream.get());
  EXPECT_FALSE(reader.readLine());
  EXPECT_FALSE(reader.nextIsBlank());
  EXPECT_FALSE(reader.appendLine());
  EXPECT_FALSE(reader.atEnd());
}

/// Replaces what the stream reads from by a directory, once the reader has all that is there.
void breakInput(std::FILE* stream, const std::string& directory) {
  const int broken = ::open(directory.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_GE(::dup2(broken, ::fileno(stream)), 0);
  ::close(broken);
}

TEST_F(ReadErrors, LaterErrorIsNoEndOfTheInput) {
  const AutoClose stream(std::fopen(directory_.write("in", "a\nb\n").c_str(), "r"));
  LineReader reader(stream.get());
  ASSERT_TRUE(reader.readLine());
  breakInput(stream.get(), directory_.name());
  EXPECT_FALSE(reader.nextIsBlank());
  ASSERT_TRUE(reader.readLine());
  EXPECT_EQ(std::string(reader.data(), reader.size()), "b\n");
  EXPECT_FALSE(reader.nextIsBlank());
  EXPECT_FALSE(reader.atEnd());
  EXPECT_FALSE(reader.readLine());
  EXPECT_FALSE(reader.atEnd());
}

TEST_F(ReadErrors, ErrorInsideALineLosesTheLine) {
  const AutoClose stream(std::fopen(directory_.write("in", "a\n cut off").c_str(), "r"));
  LineReader reader(stream.get());
  ASSERT_TRUE(reader.readLine());
  breakInput(stream.get(), directory_.name());
  EXPECT_TRUE(reader.nextIsBlank());
  EXPECT_FALSE(reader.appendLine());
  EXPECT_FALSE(reader.atEnd());
}

TEST(LineReader, EndOfTheInputIsNoLine) {
  const AutoClose stream(std::fopen("/dev/null", "r"));
  LineReader reader(stream.get());
  EXPECT_FALSE(reader.readLine());
  EXPECT_TRUE(reader.atEnd());
  EXPECT_FALSE(reader.readLine());
  EXPECT_FALSE(reader.nextIsBlank());
}

TEST(LineReader, LeavesTheStreamOpen) {
  const AutoClose stream(std::fopen("/dev/null", "r"));
  { const LineReader reader(stream.get()); }
  EXPECT_GE(::fcntl(::fileno(stream.get()), F_GETFD), 0);
}

class OrdinaryLines : public ::testing::Test {
 protected:
  /// The first `lines` lines of the text have been read; the last of them is the logical line.
  LineReader& readerOf(const std::string& text, int lines = 1) {
    stream_.reset(std::fopen(directory_.write("in", text).c_str(), "r"));
    reader_ = std::make_unique<LineReader>(stream_.get());
    for (int i = 0; i < lines; ++i) {
      EXPECT_TRUE(reader_->readLine());
    }
    return *reader_;
  }

  std::string logicalLine() const { return std::string(reader_->data(), reader_->size()); }

 private:
  TemporaryDirectory directory_;
  AutoClose stream_;
  std::unique_ptr<LineReader> reader_;
};

TEST_F(OrdinaryLines, AreTakenUpToOneThatIsNone) {
  for (const char* const other : {"dn: o=x\n", "a:: YQ==\n", "\n", "#c\n", "a: 1\n 2\n"}) {
    LineReader& reader = readerOf("a: 1\nb: 22\nc: 333\n" + std::string(other) + "d: 4\n");
    const LineReader::Taken taken = reader.takeOrdinaryLines(1000);
    EXPECT_EQ(taken.lines, 2) << other;
    EXPECT_EQ(taken.size, std::strlen("b: 22\nc: 333\n")) << other;
    EXPECT_EQ(logicalLine(), "c: 333\n") << other;
  }
}

TEST_F(OrdinaryLines, AreTakenAsFarAsTheyHaveTheWantedSize) {
  const std::size_t two = std::strlen("b: 22\nc: 333\n");
  EXPECT_EQ(readerOf("a: 1\nb: 22\nc: 333\nd: 4\n").takeOrdinaryLines(two).lines, 2);
  EXPECT_EQ(readerOf("a: 1\nb: 22\nc: 333\nd: 4\n").takeOrdinaryLines(two - 1).lines, 1);
}

TEST_F(OrdinaryLines, NothingChangesWhereThereIsNone) {
  LineReader& reader = readerOf("a: " + std::string(4092, 'x') + "b: 1\ndn: o=x\n", 2);
  const LineReader::Taken taken = reader.takeOrdinaryLines(1000);
  EXPECT_EQ(taken.lines, 0);
  EXPECT_EQ(taken.size, 0U);
  EXPECT_EQ(logicalLine(), "b: 1\n");
  EXPECT_TRUE(reader.startsWithLaterPiece());
}

TEST_F(OrdinaryLines, StartWithNoLaterPiece) {
  LineReader& reader = readerOf("a: " + std::string(4092, 'x') + "b: 1\nc: 2\nd: 3\n", 2);
  ASSERT_TRUE(reader.startsWithLaterPiece());
  ASSERT_EQ(reader.takeOrdinaryLines(1000).lines, 1);
  EXPECT_EQ(logicalLine(), "c: 2\n");
  EXPECT_FALSE(reader.startsWithLaterPiece());
}

}  // namespace
