#include "driver/prepareProcess.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>

#include "testsupport/CapturedOutput.h"
#include "testsupport/FreshProcess.h"
#include "testsupport/TemporaryDirectory.h"
#include "testsupport/messageLine.h"

namespace {

bool isOpen(int file) {
  return ::fcntl(file, F_GETFD) >= 0;
}

bool isTheNullDevice(int file) {
  struct stat status {};
  struct stat null {};
  return ::fstat(file, &status) == 0 && ::stat("/dev/null", &null) == 0 &&
         status.st_rdev == null.st_rdev && S_ISCHR(status.st_mode);
}

/// Which of the three standard streams are closed beforehand: bit n is descriptor n.
class ClosedStreams : public ::testing::TestWithParam<unsigned int> {};

TEST_P(ClosedStreams, AreOpenedOnTheNullDeviceAndTheOthersStay) {
  const TemporaryDirectory directory;
  const std::string other = directory.write("other", "");
  inFreshProcess([&] {
    for (int file = 0; file <= 2; ++file) {
      ::close(file);
      if ((GetParam() >> static_cast<unsigned int>(file) & 1U) == 0) {
        // open() takes the lowest free descriptor, which may be one that is to stay closed.
        const int opened = ::open(other.c_str(), O_RDWR);
        if (opened != file) {
          ::dup2(opened, file);
          ::close(opened);
        }
      }
    }
    prepareProcess();
    for (int file = 0; file <= 2; ++file) {
      const bool wasClosed = (GetParam() >> static_cast<unsigned int>(file) & 1U) != 0;
      EXPECT_TRUE(isOpen(file)) << file;
      EXPECT_EQ(isTheNullDevice(file), wasClosed) << file;
    }
    // A file that is opened now does not take the place of a standard stream.
    EXPECT_GT(::open(other.c_str(), O_RDONLY), 2);
  });
}

INSTANTIATE_TEST_SUITE_P(Masks, ClosedStreams, ::testing::Range(0U, 8U),
                         ::testing::PrintToStringParamName());

TEST(PrepareProcess, ClosedPipeIsAFailedWrite) {
  inFreshProcess([] {
    std::signal(SIGPIPE, SIG_DFL);
    prepareProcess();
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    ::close(ends[0]);
    EXPECT_EQ(::write(ends[1], "x", 1), -1);
    EXPECT_EQ(errno, EPIPE);
  });
}

TEST(PrepareProcess, FileSizeLimitIsAFailedWrite) {
  const TemporaryDirectory directory;
  const std::string file = directory.write("file", "");
  inFreshProcess([&] {
    std::signal(SIGXFSZ, SIG_DFL);
    prepareProcess();
    const int opened = ::open(file.c_str(), O_WRONLY);
    struct rlimit limit {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    const struct rlimit before = limit;
    limit.rlim_cur = 0;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    const ssize_t written = ::write(opened, "x", 1);
    const int reason = errno;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    EXPECT_EQ(written, -1);
    EXPECT_EQ(reason, EFBIG);
  });
}

std::size_t countFree(int limit) {
  std::size_t count = 0;
  for (int file = 0; file < limit; ++file) {
    count += isOpen(file) ? 0 : 1;
  }
  return count;
}

void setFileLimit(rlim_t soft, rlim_t hard) {
  struct rlimit limit {};
  limit.rlim_cur = soft;
  limit.rlim_max = hard;
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
}

TEST(WarnOfTooManyFiles, RaisesTheSoftLimit) {
  inFreshProcess([] {
    setFileLimit(16, 200);
    const CapturedOutput output = captured([] { warnOfTooManyFiles(100); });
    EXPECT_EQ(output.out + output.err, "");
    struct rlimit limit {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_EQ(limit.rlim_cur, 200U);
  });
}

TEST(WarnOfTooManyFiles, IsSilentForAsManyAsAreFree) {
  inFreshProcess([] {
    setFileLimit(64, 64);
    const CapturedOutput output = captured([] {
      // The capture itself takes descriptors.
      const std::size_t free = countFree(64);
      ASSERT_GT(free, 10U);
      warnOfTooManyFiles(free);
      warnOfTooManyFiles(0);
    });
    EXPECT_EQ(output.out + output.err, "");
  });
}

TEST(WarnOfTooManyFiles, TellsOneMoreWithAllThatAreWantedAndTheLimit) {
  inFreshProcess([] {
    setFileLimit(64, 64);
    const CapturedOutput output = captured([] {
      // One that is in use far from the others counts too.
      ASSERT_EQ(::dup2(STDIN_FILENO, 50), 50);
      warnOfTooManyFiles(countFree(64) + 1);
    });
    EXPECT_EQ(output.err, messageLine(61, {"65", "64"}));
    EXPECT_EQ(output.out, "");
  });
}

TEST(PrepareProcess, NewFilesAreForTheirOwnerAlone) {
  const TemporaryDirectory directory;
  const std::string name = directory.path("new");
  inFreshProcess([&] {
    ::umask(0);
    prepareProcess();
    ASSERT_GE(::open(name.c_str(), O_WRONLY | O_CREAT, 0666), 0);
    struct stat status {};
    ASSERT_EQ(::stat(name.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
  });
}

}  // namespace
