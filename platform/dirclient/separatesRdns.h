// Where the RDNs of a normal form end, for all who walk along its text.
#ifndef PLATFORM_DIRCLIENT_SEPARATESRDNS_H
#define PLATFORM_DIRCLIENT_SEPARATESRDNS_H

#include <cstddef>

namespace dirclient {

/// Whether the comma at `at` of a DN in normal form separates two RDNs: an odd number of `\` before
/// it makes it a part of a value.
inline bool separatesRdns(const char* normalForm, std::size_t at) {
  std::size_t backslashes = 0;
  while (backslashes < at && normalForm[at - 1 - backslashes] == '\\') {
    ++backslashes;
  }
  return backslashes % 2 == 0;
}

}  // namespace dirclient

#endif
