// Faults that no file brings about: a header that is cut short, reads that fail in the middle of
// the input. This program's fwrite, fclose and read go through functions that can fail, by way of
// the linker's --wrap.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "common/SystemFailure.h"
#include "ldifsplit/LdifSplit.h"
#include "ldifsplit/OutputFileSet.h"
#include "ldifsplit/openNewLdif.h"
#include "testsupport/CapturedOutput.h"
#include "testsupport/TemporaryDirectory.h"
#include "testsupport/TracesOn.h"

namespace {

int goodWrites = -1;           // so many succeed before one fails; -1 for all
int failingWrites = -1;        // so many fail then; -1 for all
long readableBytes = -1;       // so many can be read before an error; -1 for all
bool interruptsReads = false;  // every read is interrupted by a signal once before it succeeds
int interruptions = 0;
// Never destroyed: files are closed behind the end of main, too, where lines that were run are
// counted.
std::vector<std::FILE*>& closed = *new std::vector<std::FILE*>;

bool isToFail() {
  if (goodWrites != 0 || failingWrites == 0) {
    return false;
  }
  failingWrites -= failingWrites > 0 ? 1 : 0;
  return true;
}

}  // namespace

extern "C" {

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)
std::size_t __real_fwrite(const void* data, std::size_t size, std::size_t count, std::FILE* stream);
int __real_fclose(std::FILE* stream);
ssize_t __real_read(int file, void* buffer, std::size_t size);

std::size_t __wrap_fwrite(const void* data, std::size_t size, std::size_t count,
                          std::FILE* stream) {
  if (isToFail()) {
    errno = EDQUOT;
    return 0;
  }
  goodWrites -= goodWrites > 0 ? 1 : 0;
  return __real_fwrite(data, size, count, stream);
}

int __wrap_fclose(std::FILE* stream) {
  closed.push_back(stream);
  return __real_fclose(stream);
}

ssize_t __wrap_read(int file, void* buffer, std::size_t size) {
  static bool lastWasInterrupted = false;
  lastWasInterrupted = interruptsReads && !lastWasInterrupted;
  if (lastWasInterrupted) {
    ++interruptions;
    errno = EINTR;
    return -1;
  }
  if (readableBytes < 0) {
    return __real_read(file, buffer, size);
  }
  if (readableBytes == 0) {
    errno = EIO;
    return -1;
  }
  const ssize_t count =
      __real_read(file, buffer, std::min(size, static_cast<std::size_t>(readableBytes)));
  readableBytes -= count;
  return count;
}
// NOLINTEND(bugprone-reserved-identifier)

}  // extern "C"

namespace {

using ldifsplit::LdifSplitException;
using ldifsplit::OutputFileSet;

class Faults : public ::testing::Test {
 protected:
  Faults() { closed.clear(); }
  ~Faults() override {
    goodWrites = -1;
    failingWrites = -1;
    readableBytes = -1;
    interruptsReads = false;
  }

  TemporaryDirectory directory_;
};

/// A header of two pieces, of which one cannot be written.
class HeaderFault : public Faults, public ::testing::WithParamInterface<int> {};

TEST_P(HeaderFault, IsAWriteFailureOfNoLineAndTheStreamIsClosed) {
  const std::string file = directory_.path("a.ldif");
  goodWrites = GetParam();
  try {
    openNewLdif<LdifSplitException>(file.c_str());
    ADD_FAILURE() << "no exception";
  } catch (const LdifSplitException& failure) {
    EXPECT_EQ(failure.line(), 0);
    EXPECT_EQ(failure.message(), file);
  }
  EXPECT_EQ(notedSystemFailure().file, file);
  EXPECT_EQ(notedSystemFailure().reason, "Disk quota exceeded");
  EXPECT_EQ(closed.size(), 1U);
  EXPECT_EQ(directory_.read("a.ldif"), GetParam() == 0 ? "" : "version: 1\n");
}

TEST_P(HeaderFault, StopsTheSplit) {
  const std::string input = directory_.write("in.ldif", "dn: o=x\n\n");
  const std::string output = directory_.path("a.ldif");
  goodWrites = GetParam();
  try {
    ldifsplit::ldifSplit(input, {}, output, "", 0);
    ADD_FAILURE() << "no exception";
  } catch (const LdifSplitException& failure) {
    EXPECT_EQ(failure.line(), 0);
    EXPECT_EQ(failure.message(), output);
  }
}

INSTANTIATE_TEST_SUITE_P(Pieces, HeaderFault, ::testing::Values(0, 1));

TEST_F(Faults, HeaderIsTwoPieces) {
  goodWrites = 2;
  std::FILE* stream = openNewLdif<LdifSplitException>(directory_.path("a.ldif").c_str());
  EXPECT_EQ(goodWrites, 0);
  std::fclose(stream);
}

TEST_F(Faults, FilesAreClosedInAscendingOrderOfTheirNames) {
  ldifsplit::SplitObserver observer;
  OutputFileSet files(4, observer);
  std::vector<std::FILE*> expected;
  for (const char* name : {"server2", "a", "Z", "server10"}) {
    files.open(directory_.path(name));
  }
  for (const char* name : {"Z", "a", "server10", "server2"}) {
    expected.push_back(files.stream(directory_.path(name)));
  }
  files.closeAll(1);
  EXPECT_EQ(closed, expected);
}

/// The line end of a "dn" line is the only piece of it whose failure stops the run at once.
TEST_F(Faults, LineEndOfADnThatIsNotWrittenStopsTheRun) {
  const std::string input = directory_.write("in.ldif", "version: 1\n\ndn: o=\n x\n\n");
  const std::string output = directory_.path("a.ldif");
  goodWrites = 2;  // the header
  try {
    ldifsplit::ldifSplit(input, {}, output, "", 0);
    ADD_FAILURE() << "no exception";
  } catch (const ldifsplit::SplitOutputException& failure) {
    EXPECT_EQ(failure.line(), 4);
    EXPECT_EQ(failure.message(), output);
  }
}

/// The lines of a record are written at once. Where that fails, what is behind the piece that was
/// refused is written line by line, up to the last one.
TEST_F(Faults, LinesBehindAPieceThatIsRefusedOnceAreWritten) {
  const std::string input = directory_.write("in.ldif", "dn: o=x\no: x\no: y\n z\n\n");
  const std::string output = directory_.path("a.ldif");
  goodWrites = 2;  // the header
  failingWrites = 1;
  ldifsplit::ldifSplit(input, {}, output, "", 0);
  EXPECT_EQ(directory_.read("a.ldif"), "version: 1\n\no=x\no: x\no: y\n z\n");
}

// A signal is no reason to stop: the read is made again. The input is longer than what one read
// takes.
TEST_F(Faults, InterruptedReadIsMadeAgain) {
  std::string records;
  for (int i = 0; i < 100; ++i) {
    records += "\ndn: o=" + std::to_string(i) + "\ndescription: " + std::string(4000, 'x') + "\n";
  }
  const std::string input = directory_.write("in.ldif", "version: 1\n" + records);
  const std::string output = directory_.path("a.ldif");
  interruptions = 0;
  interruptsReads = true;
  ldifsplit::ldifSplit(input, {}, output, "", 0);
  interruptsReads = false;
  EXPECT_GE(interruptions, 2);
  // The header and, behind an empty line each, the records.
  EXPECT_EQ(directory_.read("a.ldif"), "version: 1\n\n" + records);
}

/// An input of which only the first bytes can be read.
struct ReadFaultRow {
  const char* name;
  const char* readable;
  int line;
  bool traced;
  const char* content;
};

void PrintTo(const ReadFaultRow& row, std::ostream* out) {
  *out << row.name;
}

class ReadFault : public Faults, public ::testing::WithParamInterface<ReadFaultRow> {};

TEST_P(ReadFault, StopsTheRunAtTheLinesReadSoFar) {
  const ReadFaultRow& row = GetParam();
  const std::string input =
      directory_.write("in.ldif", std::string(row.readable) + "more\n and more\n");
  const std::string output = directory_.path("a.ldif");
  readableBytes = static_cast<long>(std::string(row.readable).size());
  const TracesOn traces;
  const CapturedOutput printed = captured([&] {
    try {
      ldifsplit::ldifSplit(input, {}, output, "", 0);
      ADD_FAILURE() << "no exception";
    } catch (const LdifSplitException& failure) {
      EXPECT_EQ(failure.line(), row.line);
      EXPECT_EQ(failure.message(), "Error reading input file");
    }
  });
  EXPECT_EQ(notedSystemFailure().file, input);
  EXPECT_EQ(notedSystemFailure().reason, "Input/output error");
  readableBytes = -1;
  const std::string trace = "c8110000 error reading ldif input file: " + input + "\n";
  EXPECT_EQ(printed.err.find(trace) != std::string::npos, row.traced) << printed.err;
  std::fflush(nullptr);
  EXPECT_EQ(directory_.read("a.ldif"), row.content);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ReadFault,
    ::testing::Values(
        ReadFaultRow{"AtOnce", "", 1, true, "(no file)"},
        ReadFaultRow{"InTheFirstLine", "dn: o", 1, true, "(no file)"},
        ReadFaultRow{"BehindALine", "dn: o=x\no: x\n", 2, true, "version: 1\n\n\ndn: o=x\no: x\n"},
        ReadFaultRow{"InALine", "dn: o=x\no: x\na: ", 2, true, "version: 1\n\n\ndn: o=x\no: x\n"},
        // The logical line that the continuation belongs to is not counted yet, and no trace tells.
        ReadFaultRow{"InAContinuation", "dn: o=x\no: x\n a", 1, false, "version: 1\n\n\ndn: o=x\n"},
        ReadFaultRow{"InASecondContinuation", "dn: o=x\no: x\n a\n b", 2, false,
                     "version: 1\n\n\ndn: o=x\n"}),
    [](const ::testing::TestParamInfo<ReadFaultRow>& row) { return row.param.name; });

}  // namespace
