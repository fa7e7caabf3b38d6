// Where the parts of a DN in normal form stand.
#ifndef PLATFORM_DIRCLIENT_NORMALAVA_H
#define PLATFORM_DIRCLIENT_NORMALAVA_H

#include <cstddef>
#include <cstdint>

namespace dirclient {

/// The largest number of RDNs in a usable DN; it bounds every walk from a DN to its ancestors.
constexpr std::int32_t maximalRdnCount = 4096;

/// One attribute value assertion inside a text: TYPE from `begin`, '=' at `equals`, VALUE up to
/// `end`; a separator or the end of the text follows.
struct NormalAva {
  std::size_t begin;
  std::size_t equals;
  std::size_t end;
  bool lastInRdn;
  bool ignoresCase;  // the value is in upper case
  bool isAscii;
};

}  // namespace dirclient

#endif
