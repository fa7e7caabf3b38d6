// Numbers from decimal digits, with their limits and free of the locale. C++14 can read this
// header.
#ifndef PLATFORM_TEXT_NUMBER_H
#define PLATFORM_TEXT_NUMBER_H

#include <cstddef>
#include <string>

#include "platform/text/ascii.h"

namespace text {

/// The number at the start of the text, behind white space and a sign if there are any; what
/// follows its digits does not count. 0 where there are no digits; a number outside the range of an
/// int becomes the nearest one in it.
int leadingInt(const std::string& text);

/// The number that the `count` characters at `digits` stand for; -1 where there are none, where one
/// of them is no digit, or where the number is above `greatest`, which is 0 or more. Zeros before
/// the number do not matter.
constexpr int decimal(const char* digits, std::size_t count, int greatest) {
  int number = count > 0 ? 0 : -1;
  for (std::size_t i = 0; i < count; ++i) {
    if (!isAsciiDigit(digits[i])) {
      return -1;
    }
    const int digit = digits[i] - '0';
    if (number > greatest / 10 || digit > greatest - number * 10) {
      return -1;
    }
    number = number * 10 + digit;
  }
  return number;
}

}  // namespace text

#endif
