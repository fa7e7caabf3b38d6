#include "ldifsplit/findNearestAncestor.h"

#include <algorithm>
#include <memory>

#include "actors/AncestorWalk.h"
#include "actors/normalizeDn.h"

namespace ldifsplit {

std::string findNearestAncestor(const std::string& dn, const std::vector<std::string>& baseDNs) {
  std::unique_ptr<std::string> candidate(new std::string(dn));
  while (candidate != nullptr) {
    if (std::find(baseDNs.begin(), baseDNs.end(), *candidate) != baseDNs.end()) {
      return *candidate;
    }
    candidate.reset(nLdifActor::getParent(*candidate));
  }
  return std::string();
}

std::size_t findNearestAncestor(const dirclient::NormalDn& dn, const BaseDnIndex& baseDNs) {
  AncestorWalk candidate(dn);
  do {
    const std::size_t found = baseDNs.find(candidate.data(), candidate.size());
    if (found != BaseDnIndex::none) {
      return found;
    }
  } while (candidate.up());
  return BaseDnIndex::none;
}

}  // namespace ldifsplit
