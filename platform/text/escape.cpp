#include "platform/text/escape.h"

namespace text {

void appendOnOneLine(std::string_view shown, std::string& result) {
  for (const char c : shown) {
    if (isAsciiControl(c)) {
      appendHexEscape(c, result);
    } else {
      result += c;
    }
  }
}

}  // namespace text
