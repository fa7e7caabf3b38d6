#include "ldifsplit/OutputFileSet.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "common/SystemFailure.h"
#include "ldifsplit/LdifSplitException.h"
#include "ldifsplit/SplitOutputException.h"
#include "testsupport/TemporaryDirectory.h"

namespace {

using ldifsplit::LdifSplitException;
using ldifsplit::OutputFileSet;
using ldifsplit::SplitOutputException;

class OutputFiles : public ::testing::Test {
 protected:
  std::string path(const std::string& file) const { return directory_.path(file); }

  /// A name in the directory under which every flush fails, for lack of space.
  std::string fullDisk(const std::string& file) const {
    EXPECT_EQ(::symlink("/dev/full", path(file).c_str()), 0);
    return path(file);
  }

  std::FILE* opened(const std::string& name) {
    files_.open(name);
    return files_.stream(name);
  }

  void write(const std::string& name, const char* text) { std::fputs(text, opened(name)); }

  void expectCloseFailure(int line, const std::string& name) {
    try {
      files_.closeAll(line);
      ADD_FAILURE() << "no exception";
    } catch (const SplitOutputException& failure) {
      EXPECT_EQ(failure.line(), line);
      EXPECT_EQ(failure.message(), name);
    }
  }

  TemporaryDirectory directory_;
  ldifsplit::SplitObserver observer_;
  OutputFileSet files_{2, observer_};
};

TEST_F(OutputFiles, FileIsOpenedWithItsHeader) {
  write(path("a"), "text");
  files_.closeAll(1);
  EXPECT_EQ(directory_.read("a"), "version: 1\n\ntext");
}

TEST_F(OutputFiles, FileIsOpenedOnce) {
  write(path("a"), "one");
  std::FILE* const first = opened(path("a"));
  write(path("a"), "two");
  EXPECT_EQ(opened(path("a")), first);
  files_.closeAll(1);
  EXPECT_EQ(directory_.read("a"), "version: 1\n\nonetwo");
}

TEST_F(OutputFiles, EachNameHasItsOwnStream) {
  write(path("a"), "A");
  write(path("b"), "B");
  files_.closeAll(1);
  EXPECT_EQ(directory_.read("a"), "version: 1\n\nA");
  EXPECT_EQ(directory_.read("b"), "version: 1\n\nB");
}

TEST_F(OutputFiles, FileThatCannotBeOpenedThrows) {
  try {
    files_.open(path("missing/a"));
    FAIL() << "no exception";
  } catch (const LdifSplitException& failure) {
    EXPECT_EQ(failure.line(), 0);
    EXPECT_EQ(failure.message(),
              "error opening " + path("missing/a") + ": permission denied or does not exist");
  }
  EXPECT_NO_THROW(files_.closeAll(1));
}

TEST_F(OutputFiles, EmptySetClosesNothing) {
  EXPECT_NO_THROW(files_.closeAll(1));
}

TEST_F(OutputFiles, FailingCloseIsAFailedWrite) {
  write(fullDisk("a"), "text");
  expectCloseFailure(42, path("a"));
}

TEST_F(OutputFiles, ReasonIsThatOfTheFileThatIsNamed) {
  write(fullDisk("a"), "text");
  write(fullDisk("b"), "text");
  expectCloseFailure(42, path("a"));
  EXPECT_EQ(notedSystemFailure().file, path("a"));
  EXPECT_EQ(notedSystemFailure().reason, "No space left on device");
}

TEST_F(OutputFiles, FailingCloseStillClosesTheRest) {
  write(path("a"), "A");
  write(fullDisk("b"), "B");
  write(path("c"), "C");
  expectCloseFailure(42, path("b"));
  EXPECT_EQ(directory_.read("a"), "version: 1\n\nA");
  EXPECT_EQ(directory_.read("c"), "version: 1\n\nC");
}

TEST_F(OutputFiles, OfSeveralFailuresTheFirstInNameOrderIsThrown) {
  write(fullDisk("z"), "Z");
  write(path("m"), "M");
  write(fullDisk("b"), "B");
  write(fullDisk("a10"), "10");
  write(fullDisk("a2"), "2");
  expectCloseFailure(7, path("a10"));
  EXPECT_EQ(directory_.read("m"), "version: 1\n\nM");
}

TEST_F(OutputFiles, WriteThatFailedUnnoticedShowsAtTheClose) {
  write(path("a"), "text");
  // Reading a stream that is open for writing sets its error mark; everything else stays fine.
  std::fgetc(opened(path("a")));
  expectCloseFailure(9, path("a"));
  EXPECT_EQ(notedSystemFailure().file, path("a"));
  EXPECT_EQ(notedSystemFailure().reason, "");
}

TEST_F(OutputFiles, FileThatWasRemovedIsAFailedWrite) {
  write(path("a"), "A");
  write(path("b"), "B");
  ASSERT_EQ(::unlink(path("b").c_str()), 0);
  expectCloseFailure(5, path("b"));
  EXPECT_EQ(directory_.read("a"), "version: 1\n\nA");
}

TEST_F(OutputFiles, FileThatAnotherHasReplacedIsAFailedWrite) {
  write(path("a"), "A");
  ASSERT_EQ(std::rename(directory_.write("new", "new").c_str(), path("a").c_str()), 0);
  expectCloseFailure(5, path("a"));
  EXPECT_EQ(directory_.read("a"), "new");
}

TEST_F(OutputFiles, FileThatWasMovedIsWhole) {
  write(path("a"), "A");
  ASSERT_EQ(std::rename(path("a").c_str(), path("moved").c_str()), 0);
  files_.closeAll(5);
  EXPECT_EQ(directory_.read("moved"), "version: 1\n\nA");
}

TEST_F(OutputFiles, FileThatNeverHadANameIsWhole) {
  std::FILE* const nameless = std::tmpfile();
  ASSERT_NE(nameless, nullptr);
  write("/dev/fd/" + std::to_string(::fileno(nameless)), "A");
  files_.closeAll(5);
  EXPECT_EQ(::lseek(::fileno(nameless), 0, SEEK_END), 13);
  std::fclose(nameless);
}

TEST_F(OutputFiles, SetIsEmptyAfterAFailingClose) {
  write(fullDisk("a"), "text");
  expectCloseFailure(1, path("a"));
  EXPECT_NO_THROW(files_.closeAll(1));
}

TEST(OutputFileSetBuffers, AreSmallerTheMoreFilesThereAre) {
  const std::size_t kB = 1024;
  ldifsplit::SplitObserver observer;
  for (const auto& row : std::vector<std::pair<std::size_t, std::size_t>>{{0, 64 * kB},
                                                                          {1, 64 * kB},
                                                                          {64, 64 * kB},
                                                                          {65, 32 * kB},
                                                                          {128, 32 * kB},
                                                                          {129, 16 * kB},
                                                                          {256, 16 * kB},
                                                                          {257, 8 * kB},
                                                                          {513, 4 * kB},
                                                                          {100000, 4 * kB}}) {
    EXPECT_EQ(OutputFileSet(row.first, observer).bufferSize(), row.second) << row.first;
  }
}

class OutputFilesDeathTest : public OutputFiles {
 protected:
  OutputFilesDeathTest() { ::testing::FLAGS_gtest_death_test_style = "threadsafe"; }
};

TEST_F(OutputFilesDeathTest, StreamOfAFileThatWasNotOpenedAborts) {
  EXPECT_DEATH(files_.stream(path("a")),
               "nametofp\\.find\\(nextFilename\\) != nametofp\\.end\\(\\)");
}

TEST_F(OutputFilesDeathTest, StreamOfAFileThatIsClosedAborts) {
  files_.open(path("a"));
  files_.closeAll(1);
  EXPECT_DEATH(files_.stream(path("a")), "outfile != __null");
}

}  // namespace
