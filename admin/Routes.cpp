#include "admin/Routes.h"

#include <algorithm>

#include "actors/normalizeDn.h"
#include "ldifsplit/findNearestAncestor.h"

namespace {

std::vector<std::string> keysOf(const std::map<std::string, LdifActor*>& actors) {
  std::vector<std::string> keys;
  keys.reserve(actors.size());
  for (const auto& actor : actors) {
    keys.push_back(actor.first);
  }
  return keys;
}

}  // namespace

Routes::Routes(const std::map<std::string, LdifActor*>& actors,
               const std::string& defaultOutputFile)
    : baseDns_(keysOf(actors)), index_(baseDns_), defaultOutputFile_(defaultOutputFile) {
  for (const auto& actor : actors) {
    actors_.push_back(actor.second);
  }
}

std::vector<std::string> Routes::filesOf(const std::string& dn) {
  std::vector<std::string> names;
  dn_.normalize(dn.data(), dn.size(), schemaInitialized);
  if (dn_.empty()) {
    return names;
  }
  const std::size_t baseDn = ldifsplit::findNearestAncestor(dn_, index_);
  if (baseDn == ldifsplit::BaseDnIndex::none) {
    names.push_back(defaultOutputFile_);
    return names;
  }
  for (const std::string* name : actors_[baseDn]->getOutputFilename(dn_)) {
    names.push_back(*name);
  }
  return names;
}

bool Routes::belongsIn(const std::string& dn, const std::string& file) {
  const std::vector<std::string> names = filesOf(dn);
  return std::find(names.begin(), names.end(), file) != names.end();
}
