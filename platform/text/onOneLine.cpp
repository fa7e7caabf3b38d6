#include "platform/text/onOneLine.h"

#include "platform/text/escape.h"

namespace text {

std::string onOneLine(const std::string& shown) {
  std::string result;
  appendOnOneLine(shown, result);
  return result;
}

}  // namespace text
