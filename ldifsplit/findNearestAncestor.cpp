#include "ldifsplit/findNearestAncestor.h"

#include <algorithm>

#include "actors/AncestorWalk.h"

namespace ldifsplit {
namespace {

const std::string* findOnTheWayUp(AncestorWalk& candidate,
                                  const std::vector<std::string>& baseDNs) {
  do {
    const auto match = std::find_if(baseDNs.begin(), baseDNs.end(), [&](const std::string& baseDn) {
      return candidate.isAt(baseDn);
    });
    if (match != baseDNs.end()) {
      return &*match;
    }
  } while (candidate.up());
  return nullptr;
}

}  // namespace

std::string findNearestAncestor(const std::string& dn, const std::vector<std::string>& baseDNs) {
  AncestorWalk candidate(dn);
  const std::string* nearest = findOnTheWayUp(candidate, baseDNs);
  return nearest != nullptr ? *nearest : std::string();
}

const std::string* findNearestAncestor(const LdifEntry& entry,
                                       const std::vector<std::string>& baseDNs) {
  AncestorWalk candidate(entry);
  return findOnTheWayUp(candidate, baseDNs);
}

}  // namespace ldifsplit
