#include "platform/text/number.h"

#include <limits>

namespace text {

int leadingInt(const std::string& text) {
  std::size_t at = 0;
  while (at < text.size() && isAsciiWhiteSpace(text[at])) {
    ++at;
  }
  const bool negative = at < text.size() && text[at] == '-';
  if (negative || (at < text.size() && text[at] == '+')) {
    ++at;
  }
  const std::size_t begin = at;
  while (at < text.size() && isAsciiDigit(text[at])) {
    ++at;
  }
  if (at == begin) {
    return 0;
  }
  constexpr int greatest = std::numeric_limits<int>::max();
  const int number = decimal(text.data() + begin, at - begin, greatest);
  if (number < 0) {
    return negative ? std::numeric_limits<int>::min() : greatest;
  }
  return negative ? -number : number;
}

}  // namespace text
