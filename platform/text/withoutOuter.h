// A text without the blanks around it; what a blank is differs from format to format.
#ifndef PLATFORM_TEXT_WITHOUTOUTER_H
#define PLATFORM_TEXT_WITHOUTOUTER_H

#include <string_view>

namespace text {

/// The part of `whole` between the characters at either end that `isBlank` says yes to; it lives as
/// long as the bytes of `whole`.
template <typename IsBlank>
constexpr std::string_view withoutOuter(IsBlank isBlank, std::string_view whole) {
  while (!whole.empty() && isBlank(whole.front())) {
    whole.remove_prefix(1);
  }
  while (!whole.empty() && isBlank(whole.back())) {
    whole.remove_suffix(1);
  }
  return whole;
}

}  // namespace text

#endif
