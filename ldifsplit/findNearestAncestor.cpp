#include "ldifsplit/findNearestAncestor.h"

#include <algorithm>

#include "actors/AncestorWalk.h"

namespace ldifsplit {

std::string findNearestAncestor(const std::string& dn, const std::vector<std::string>& baseDNs) {
  AncestorWalk candidate(dn);
  do {
    const auto match = std::find_if(baseDNs.begin(), baseDNs.end(), [&](const std::string& baseDn) {
      return candidate.isAt(baseDn);
    });
    if (match != baseDNs.end()) {
      return *match;
    }
  } while (candidate.up());
  return std::string();
}

}  // namespace ldifsplit
