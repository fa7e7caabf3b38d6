#include "platform/dirclient/appendNormalTime.h"

#include <array>
#include <chrono>
#include <cstdio>

#include "platform/text/ascii.h"
#include "platform/text/number.h"

namespace dirclient {
namespace {

constexpr int minutesOfDay = 24 * 60;

/// The parts of a generalized time, from left to right.
class TimeReader {
 public:
  explicit TimeReader(std::string_view text) : rest_(text) {}

  /// Takes a number of exactly `digits` digits from `least` to `greatest`.
  bool take(std::size_t digits, int least, int greatest, int& number) {
    if (!startsWithDigits(digits)) {
      return false;
    }
    number = text::decimal(rest_.data(), digits, greatest);
    rest_.remove_prefix(digits);
    return number >= least;
  }

  bool startsWithDigits(std::size_t digits) const {
    for (std::size_t i = 0; i < digits; ++i) {
      if (i >= rest_.size() || !text::isAsciiDigit(rest_[i])) {
        return false;
      }
    }
    return true;
  }

  bool takeOneOf(std::string_view set, char& taken) {
    if (rest_.empty() || set.find(rest_.front()) == std::string_view::npos) {
      return false;
    }
    taken = rest_.front();
    rest_.remove_prefix(1);
    return true;
  }

  std::string_view takeDigits() {
    std::size_t count = 0;
    while (count < rest_.size() && text::isAsciiDigit(rest_[count])) {
      ++count;
    }
    const std::string_view digits = rest_.substr(0, count);
    rest_.remove_prefix(count);
    return digits;
  }

  bool atEnd() const { return rest_.empty(); }

 private:
  std::string_view rest_;
};

/// A local time and how far it is ahead of UTC.
struct Time {
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
  bool hasMinute = false;
  bool hasSecond = false;
  int minutesAhead = 0;
};

/// Multiplies the decimal fraction by 60 and takes the whole part out of it.
int takeSixtieths(std::pmr::string& fraction) {
  int carry = 0;
  for (auto digit = fraction.rbegin(); digit != fraction.rend(); ++digit) {
    const int product = (*digit - '0') * 60 + carry;
    *digit = static_cast<char>('0' + product % 10);
    carry = product / 10;
  }
  return carry;
}

bool readTime(TimeReader& reader, Time& time) {
  if (!reader.take(4, 0, 9999, time.year) || !reader.take(2, 1, 12, time.month) ||
      !reader.take(2, 1, 31, time.day) || !reader.take(2, 0, 23, time.hour)) {
    return false;
  }
  time.hasMinute = reader.startsWithDigits(1);
  if (time.hasMinute && !reader.take(2, 0, 59, time.minute)) {
    return false;
  }
  time.hasSecond = time.hasMinute && reader.startsWithDigits(1);
  return !time.hasSecond || reader.take(2, 0, 60, time.second);
}

/// The fraction is one of the smallest unit that is written; it becomes one of a second.
bool readFraction(TimeReader& reader, Time& time, std::pmr::string& fraction) {
  char mark = 0;
  if (!reader.takeOneOf(".,", mark)) {
    return true;
  }
  fraction = reader.takeDigits();
  if (fraction.empty()) {
    return false;
  }
  if (!time.hasMinute) {
    time.minute = takeSixtieths(fraction);
  }
  if (!time.hasSecond) {
    time.second = takeSixtieths(fraction);
  }
  fraction.resize(fraction.find_last_not_of('0') + 1);
  return true;
}

bool readZone(TimeReader& reader, Time& time) {
  char sign = 0;
  if (!reader.takeOneOf("Z+-", sign)) {
    return false;
  }
  if (sign == 'Z') {
    return reader.atEnd();
  }
  int hours = 0;
  int minutes = 0;
  if (!reader.take(2, 0, 23, hours) || (!reader.atEnd() && !reader.take(2, 0, 59, minutes))) {
    return false;
  }
  time.minutesAhead = (hours * 60 + minutes) * (sign == '-' ? -1 : 1);
  return reader.atEnd();
}

bool moveToUtc(Time& time) {
  using std::chrono::days;
  std::chrono::year_month_day date(std::chrono::year(time.year),
                                   std::chrono::month(static_cast<unsigned int>(time.month)),
                                   std::chrono::day(static_cast<unsigned int>(time.day)));
  if (!date.ok()) {
    return false;
  }
  int minutes = time.hour * 60 + time.minute - time.minutesAhead;
  if (minutes < 0) {
    date = std::chrono::sys_days(date) - days(1);
    minutes += minutesOfDay;
  } else if (minutes >= minutesOfDay) {
    date = std::chrono::sys_days(date) + days(1);
    minutes -= minutesOfDay;
  }
  time.year = static_cast<int>(date.year());
  time.month = static_cast<int>(static_cast<unsigned int>(date.month()));
  time.day = static_cast<int>(static_cast<unsigned int>(date.day()));
  time.hour = minutes / 60;
  time.minute = minutes % 60;
  return time.year >= 0 && time.year <= 9999;
}

}  // namespace

bool appendNormalTime(std::string_view value, std::pmr::string& text) {
  TimeReader reader(value);
  Time time;
  std::pmr::string fraction(text.get_allocator());
  if (!readTime(reader, time) || !readFraction(reader, time, fraction) || !readZone(reader, time) ||
      !moveToUtc(time)) {
    return false;
  }
  std::array<char, 80> digits{};
  std::snprintf(digits.data(), digits.size(), "%04d%02d%02d%02d%02d%02d", time.year, time.month,
                time.day, time.hour, time.minute, time.second);
  text += digits.data();
  if (!fraction.empty()) {
    text += '.';
    text += fraction;
  }
  text += 'Z';
  return true;
}

}  // namespace dirclient
