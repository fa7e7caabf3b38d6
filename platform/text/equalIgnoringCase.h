// Words whose case does not count, such as keywords and URL schemes.
#ifndef PLATFORM_TEXT_EQUALIGNORINGCASE_H
#define PLATFORM_TEXT_EQUALIGNORINGCASE_H

#include <cstddef>
#include <string_view>

#include "platform/text/ascii.h"

namespace text {

/// Whether the texts differ in the case of ASCII letters at most.
constexpr bool equalIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) {
    return false;
  }
  for (std::size_t i = 0; i < a.size(); ++i) {
    // Most bytes are equal as they are.
    if (a[i] != b[i] && toAsciiUpper(a[i]) != toAsciiUpper(b[i])) {
      return false;
    }
  }
  return true;
}

}  // namespace text

#endif
