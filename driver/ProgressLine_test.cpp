#include "driver/ProgressLine.h"

#include <gtest/gtest.h>
#include <termios.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ostream>
#include <string>

#include "testsupport/Terminal.h"

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

TEST(ProgressLine, TellsShareRestSizeSpeedAndEntries) {
  const Written written;
  ProgressLine line(written.stream(), start);
  line.show({250000, 1000000, 712}, start + seconds(10));
  EXPECT_EQ(written.text(),
            "\r[####..............]  25 %  30 s left  250 kB of 1.0 MB  25.0 kB/s  712 entries");
}

TEST(ProgressLine, OfAnUnknownTotalTellsSizeSpeedAndEntries) {
  const Written written;
  ProgressLine line(written.stream(), start);
  line.show({3000, 0, 4}, start + seconds(2));
  EXPECT_EQ(written.text(), "\r3.0 kB  1.5 kB/s  4 entries");
}

TEST(ProgressLine, KnowsNoRestBeforeAnythingIsDone) {
  const Written written;
  ProgressLine line(written.stream(), start);
  line.show({0, 100, 0}, start);
  EXPECT_EQ(written.text(),
            "\r[....................]   0 %  ? left  0 B of 100 B  0 B/s  0 entries");
}

TEST(ProgressLine, TellsMinutesAndHours) {
  const Written written;
  ProgressLine line(written.stream(), start);
  line.show({100, 310000, 1}, start + seconds(1));
  EXPECT_NE(written.text().find("  51 min 39 s left"), std::string::npos) << written.text();
  line.show({200, 1000200, 1}, start + seconds(2));
  EXPECT_NE(written.text().find("  2 h 46 min left"), std::string::npos) << written.text();
}

TEST(ProgressLine, IsNeverBeyondItsEnd) {
  const Written written;
  ProgressLine line(written.stream(), start);
  line.show({200, 100, 1}, start + seconds(1));
  EXPECT_NE(written.text().find("[####################] 100 %  0 s left  100 B of 100 B"),
            std::string::npos)
      << written.text();
}

TEST(ProgressLine, IsWrittenFiveTimesASecond) {
  const Written written;
  ProgressLine line(written.stream(), start);
  for (int i = 0; i <= 1000; ++i) {
    line.show({1, 0, 0}, start + milliseconds(i));
  }
  const std::string text = written.text();
  EXPECT_EQ(std::count(text.begin(), text.end(), '\r'), 6);  // at 0, 200, ..., 1000
}

TEST(ProgressLine, LeavesNothingOfALongerOneBefore) {
  const Written written;
  ProgressLine line(written.stream(), start);
  line.show({100, 0, 0}, start + seconds(1));
  const std::string before = written.text();
  line.show({1, 0, 0}, start + seconds(2));
  EXPECT_EQ(before, "\r100 B  100 B/s  0 entries");
  EXPECT_EQ(written.text().substr(before.size()), "\r1 B  0 B/s  0 entries    ");
}

TEST(ProgressLine, IsClearedOnceAndAtTheEnd) {
  const Written written;
  {
    ProgressLine line(written.stream(), start);
    line.clear();
    EXPECT_EQ(written.text(), "");
    line.show({1, 0, 0}, start + seconds(1));
    line.clear();
    line.clear();
    EXPECT_EQ(written.text(), "\r1 B  1 B/s  0 entries\r                     \r");
    line.show({1, 0, 0}, start + seconds(2));
  }
  EXPECT_EQ(written.text(),
            "\r1 B  1 B/s  0 entries\r                     \r"
            "\r1 B  0 B/s  0 entries\r                     \r");
}

// --- Widths -------------------------------------------------------------------------------------

struct Fit {
  unsigned short columns;
  const char* text;
};

void PrintTo(const Fit& fit, std::ostream* out) {
  *out << fit.columns;
}

class ProgressLineFit : public ::testing::TestWithParam<Fit> {};

TEST_P(ProgressLineFit, HasWholeFiguresAndABarInTheRest) {
  const Terminal terminal(GetParam().columns);
  ProgressLine line(terminal.stream(), start);
  line.show({250000, 1000000, 712}, start + seconds(10));
  EXPECT_EQ(terminal.shown(), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Widths, ProgressLineFit,
    ::testing::Values(
        Fit{200,
            "\r[#####...............]  25 %  30 s left  250 kB of 1.0 MB  25.0 kB/s  712 entries"},
        Fit{82,
            "\r[#####...............]  25 %  30 s left  250 kB of 1.0 MB  25.0 kB/s  712 entries"},
        Fit{81,
            "\r[####...............]  25 %  30 s left  250 kB of 1.0 MB  25.0 kB/s  712 entries"},
        Fit{67, "\r[#....]  25 %  30 s left  250 kB of 1.0 MB  25.0 kB/s  712 entries"},
        Fit{66, "\r 25 %  30 s left  250 kB of 1.0 MB  25.0 kB/s  712 entries"},
        Fit{59, "\r 25 %  30 s left  250 kB of 1.0 MB  25.0 kB/s  712 entries"},
        Fit{58, "\r[##.......]  25 %  30 s left  250 kB of 1.0 MB  25.0 kB/s"},
        Fit{20, "\r 25 %  30 s left"}));

TEST(ProgressLine, IsNotThereBelowTwentyColumns) {
  const Terminal terminal(19);
  ProgressLine line(terminal.stream(), start);
  line.show({250000, 1000000, 712}, start + seconds(10));
  std::fputs("nothing before", terminal.stream());
  std::fflush(terminal.stream());
  EXPECT_EQ(terminal.shown(), "nothing before");
}

TEST(ProgressLine, FollowsATerminalThatIsMadeNarrower) {
  const Terminal terminal(80);
  ProgressLine line(terminal.stream(), start);
  line.show({250000, 1000000, 712}, start + seconds(10));
  terminal.shown();
  terminal.resize(40);
  line.show({250000, 1000000, 712}, start + seconds(11));
  EXPECT_EQ(terminal.shown(), "\r 25 %  33 s left  250 kB of 1.0 MB     ");
}

TEST(ProgressLine, DoesNotWaitForATerminalThatTakesNothing) {
  const Terminal terminal(80);
  ProgressLine line(terminal.stream(), start);
  ASSERT_EQ(::tcflow(::fileno(terminal.stream()), TCOOFF), 0);
  line.show({1, 0, 0}, start);
  ASSERT_EQ(::tcflow(::fileno(terminal.stream()), TCOON), 0);
  line.show({2, 0, 0}, start + seconds(1));
  EXPECT_EQ(terminal.shown(), "\r2 B  2 B/s  0 entries");
}

}  // namespace
