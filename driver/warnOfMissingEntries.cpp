#include "driver/warnOfMissingEntries.h"

#include <set>

#include "actors/AncestorWalk.h"
#include "actors/normalizeDn.h"
#include "platform/dirclient/NormalDn.h"
#include "platform/messages/PrintMessage.h"

namespace {

/// Every name above the base DNs at or below which there is an entry.
std::set<std::string> namesAboveEntries(const std::vector<std::string>& baseDNs,
                                        const std::map<std::string, LdifActor*>& actors) {
  std::set<std::string> names;
  for (const std::string& baseDn : baseDNs) {
    const LdifActor& actor = *actors.at(baseDn);
    if (!actor.wasAskedForBaseDn() && !actor.wasAskedForOtherDn()) {
      continue;
    }
    dirclient::NormalDn name;
    name.normalize(baseDn.data(), baseDn.size(), schemaInitialized);
    AncestorWalk walk(name);
    while (walk.up()) {
      names.emplace(walk.data(), walk.size());
    }
  }
  return names;
}

}  // namespace

void warnOfMissingEntries(const std::vector<std::string>& baseDNs,
                          const std::map<std::string, LdifActor*>& actors) {
  const std::set<std::string> above = namesAboveEntries(baseDNs, actors);
  for (const std::string& baseDn : baseDNs) {
    const LdifActor& actor = *actors.at(baseDn);
    if (actor.wasAskedForBaseDn()) {
      continue;
    }
    if (actor.wasAskedForOtherDn() || above.count(baseDn) != 0) {
      PrintMessage(32, 1, 64, baseDn.c_str());
    } else {
      PrintMessage(32, 1, 63, baseDn.c_str());
    }
  }
}
