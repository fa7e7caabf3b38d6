#include "driver/ProgressLine.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "common/AutoClose.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

const ProgressLine::Clock::time_point start{};

/// A stream that keeps what is written to it.
class Written {
 public:
  Written() : stream_(::open_memstream(&bytes_, &size_)) {}
  ~Written() {
    std::fclose(stream_);
    std::free(bytes_);
  }
  Written(const Written&) = delete;
  Written& operator=(const Written&) = delete;

  std::FILE* stream() const { return stream_; }
  std::string text() const {
    std::fflush(stream_);
    return {bytes_, size_};
  }

 private:
  char* bytes_ = nullptr;
  std::size_t size_ = 0;
  std::FILE* stream_;
};

TEST(ProgressLine, TellsShareSizeSpeedAndRest) {
  const Written written;
  ProgressLine line(written.stream(), start);
  line.show(250000, 1000000, start + seconds(10));
  EXPECT_EQ(written.text(),
            "\r[#####...............]  25 %  250 kB of 1.0 MB  25.0 kB/s  30 s left");
}

TEST(ProgressLine, OfAnUnknownTotalTellsSizeAndSpeed) {
  const Written written;
  ProgressLine line(written.stream(), start);
  line.show(3000, 0, start + seconds(2));
  EXPECT_EQ(written.text(), "\r3.0 kB  1.5 kB/s");
}

TEST(ProgressLine, KnowsNoRestBeforeAnythingIsDone) {
  const Written written;
  ProgressLine line(written.stream(), start);
  line.show(0, 100, start);
  EXPECT_EQ(written.text(), "\r[....................]   0 %  0 B of 100 B  0 B/s");
}

TEST(ProgressLine, TellsMinutes) {
  const Written written;
  ProgressLine line(written.stream(), start);
  line.show(100, 1000000, start + seconds(1));
  EXPECT_NE(written.text().find("  166 min 39 s left"), std::string::npos) << written.text();
}

TEST(ProgressLine, IsNeverBeyondItsEnd) {
  const Written written;
  ProgressLine line(written.stream(), start);
  line.show(200, 100, start + seconds(1));
  EXPECT_NE(written.text().find("[####################] 100 %  100 B of 100 B"), std::string::npos);
}

TEST(ProgressLine, IsWrittenFiveTimesASecond) {
  const Written written;
  ProgressLine line(written.stream(), start);
  for (int i = 0; i <= 1000; ++i) {
    line.show(1, 0, start + milliseconds(i));
  }
  const std::string text = written.text();
  EXPECT_EQ(std::count(text.begin(), text.end(), '\r'), 6);  // at 0, 200, ..., 1000
}

TEST(ProgressLine, LeavesNothingOfALongerOneBefore) {
  const Written written;
  ProgressLine line(written.stream(), start);
  line.show(100, 0, start + seconds(1));
  const std::string before = written.text();
  line.show(1, 0, start + seconds(2));
  EXPECT_EQ(before, "\r100 B  100 B/s");
  EXPECT_EQ(written.text().substr(before.size()), "\r1 B  0 B/s    ");
}

TEST(ProgressLine, IsClearedOnceAndAtTheEnd) {
  const Written written;
  {
    ProgressLine line(written.stream(), start);
    line.clear();
    EXPECT_EQ(written.text(), "");
    line.show(1, 0, start + seconds(1));
    line.clear();
    line.clear();
    EXPECT_EQ(written.text(), "\r1 B  1 B/s\r          \r");
    line.show(1, 0, start + seconds(2));
  }
  EXPECT_EQ(written.text(), "\r1 B  1 B/s\r          \r\r1 B  0 B/s\r          \r");
}

class Terminal {
 public:
  explicit Terminal(unsigned short columns) : main_(::posix_openpt(O_RDWR | O_NOCTTY)) {
    ::grantpt(main_);
    ::unlockpt(main_);
    side_.reset(std::fopen(::ptsname(main_), "w"));
    struct winsize size {};
    size.ws_row = 1;
    size.ws_col = columns;
    ::ioctl(main_, TIOCSWINSZ, &size);
  }
  ~Terminal() { ::close(main_); }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  std::FILE* stream() const { return side_.get(); }
  std::string shown() const {
    std::array<char, 4096> bytes{};
    const ssize_t size = ::read(main_, bytes.data(), bytes.size());
    return {bytes.data(), size > 0 ? static_cast<std::size_t>(size) : 0};
  }

 private:
  int main_;
  AutoClose side_;
};

TEST(ProgressLine, IsNarrowerThanTheTerminal) {
  const Terminal terminal(12);
  EXPECT_TRUE(isTerminal(terminal.stream()));
  ProgressLine line(terminal.stream(), start);
  line.show(250000, 1000000, start + seconds(10));
  EXPECT_EQ(terminal.shown(), "\r[#####.....");
}

TEST(ProgressLine, KnowsAFileFromATerminal) {
  const AutoClose file(std::tmpfile());
  EXPECT_FALSE(isTerminal(file.get()));
}

}  // namespace
