#include "platform/dirclient/string_prep.h"

namespace dirclient {

bool prepareString(std::string_view utf8, LetterCase letterCase, Insignificant,
                   std::pmr::string& prepared) {
  bool pendingBlank = false;
  bool any = false;
  for (char c : utf8) {
    if (c == ' ' || (c >= 9 && c <= 13)) {
      pendingBlank = any;
      continue;
    }
    if ((static_cast<unsigned char>(c) < 0x20) || c == 0x7f)
      continue;
    if (pendingBlank) {
      prepared += ' ';
      pendingBlank = false;
    }
    any = true;
    prepared +=
        (letterCase == LetterCase::upper && c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c;
  }
  return true;
}

}  // namespace dirclient
