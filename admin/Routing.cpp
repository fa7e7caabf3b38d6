#include "admin/Routing.h"

#include <algorithm>
#include <cassert>

#include "actors/CryptoActor.h"
#include "actors/ldifActorFactory.h"
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

std::vector<Routing::Server> serversOf(const VarnelConfig& config, const std::string& baseDn) {
  std::vector<Routing::Server> servers;
  for (const VarnelConfig::TokenRecord& record : config.baseDNSections_.at(baseDn)) {
    servers.push_back({record.front().second, record.back().second});
  }
  // The configuration keeps a spare record behind the last server.
  servers.pop_back();
  return servers;
}

}  // namespace

// In C++14 a constant that is taken by reference needs a definition of its own.
constexpr std::size_t Routing::allServers;
constexpr std::size_t Routing::noBaseDn;

Routing::Routing(const VarnelConfig& config)
    : config_(config), actors_(ldifActorFactory(config)), names_(keysOf(actors_)), index_(names_) {
  for (const std::string& name : names_) {
    const bool isCrypto = name == cryptoDN;
    BaseDn baseDn{name, {}, isCrypto, {}, actors_.at(name)};
    baseDn.normal.normalize(name.data(), name.size(), schemaInitialized);
    if (!isCrypto) {
      baseDn.servers = serversOf(config, name);
    }
    baseDns_.push_back(baseDn);
  }
}

std::size_t Routing::baseDnOf(const dirclient::NormalDn& dn) const {
  return ldifsplit::findNearestAncestor(dn, index_);
}

std::size_t Routing::serverOf(const dirclient::NormalDn& dn, std::size_t baseDn,
                              const FileNames& files) const {
  const BaseDn& base = baseDns_[baseDn];
  if (base.isCrypto || dn.text() == base.normal.text()) {
    return allServers;
  }
  // The actor hands out the very text that stands in its list, by which one of two servers with the
  // same file is told from the other.
  const std::string* const first = base.actor->getOutputFiles().data();
  const auto server = static_cast<std::size_t>(*files.begin() - first);
  assert(files.size() == 1 && server < base.servers.size());
  return server;
}

std::size_t Routing::serverOf(const dirclient::NormalDn& dn, std::size_t baseDn) const {
  return serverOf(dn, baseDn, baseDns_[baseDn].actor->getOutputFilename(dn));
}

std::vector<std::string> Routing::filesOf(const std::string& dn) const {
  dirclient::NormalDn normal;
  normal.normalize(dn.data(), dn.size(), schemaInitialized);
  if (normal.empty()) {
    return {};
  }
  const std::size_t baseDn = baseDnOf(normal);
  if (baseDn == noBaseDn) {
    return {defaultOutputFile()};
  }
  std::vector<std::string> names;
  for (const std::string* name : baseDns_[baseDn].actor->getOutputFilename(normal)) {
    names.push_back(*name);
  }
  return names;
}

bool Routing::belongsIn(const std::string& dn, const std::string& file) const {
  const std::vector<std::string> names = filesOf(dn);
  return std::find(names.begin(), names.end(), file) != names.end();
}
