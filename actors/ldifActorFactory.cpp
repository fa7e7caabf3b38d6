#include "actors/ldifActorFactory.h"

#include <cassert>
#include <memory>
#include <set>
#include <vector>

#include "actors/CryptoActor.h"
#include "actors/HashActor.h"
#include "platform/trace/trace.h"

namespace {

/// Actors live until the process ends. They stay reachable, so that a leak checker can tell them
/// from memory that was lost.
template <typename Actor>
LdifActor* keep(Actor* actor) {
  static auto* const actors = new std::vector<LdifActor*>;
  actors->push_back(actor);
  return actor;
}

LdifActor* makeConfiguredActor(const VarnelConfig& config, const std::string& baseDn) {
  std::vector<ServerPairs> servers = config.baseDNSections_.at(baseDn);
  // The configuration keeps a spare record behind the last server.
  servers.pop_back();
  LdifActor* actor = nullptr;
  if (config.getSplitType(baseDn) == VarnelConfig::splitByHash) {
    actor = keep(new HashActor(baseDn, servers));
  } else {
    TRACE(traceError, "Warning: non-HashActor type found \n");
  }
  // A validated configuration gives every base DN the hash split.
  assert(actor != nullptr);
  TRACE(traceProgress, "Calling ldifIterate for the new Actor\n");
  actor->ldifIterate(config.inputFile_);
  return actor;
}

/// Every output file of every actor, each once, in ascending byte order.
std::vector<std::string> collectOutputFiles(const std::map<std::string, LdifActor*>& actors) {
  std::set<std::string> names;
  for (const auto& actor : actors) {
    const std::unique_ptr<std::vector<std::string>> files(
        actor.second->getOutputFilename(actor.first));
    if (files == nullptr) {
      TRACE(traceError, "Error:  list of files is empty\n");
      continue;
    }
    for (const std::string& name : *files) {
      TRACE(traceProgress, "Next filename inserted into set:  #%s#\n", name.c_str());
      names.insert(name);
    }
  }
  std::vector<std::string> sorted;
  for (const std::string& name : names) {
    TRACE(traceProgress, "Output filename:  %s\n", name.c_str());
    sorted.push_back(name);
  }
  return sorted;
}

}  // namespace

std::map<std::string, LdifActor*> ldifActorFactory(const VarnelConfig& config) {
  TRACE(traceProgress, "Doing ldifActorFactory\n");
  std::map<std::string, LdifActor*> actors;
  TRACE(traceProgress, "Constructing list of actors\n");
  for (const std::string& baseDn : config.baseDNlist()) {
    actors[baseDn] = makeConfiguredActor(config, baseDn);
  }
  TRACE(traceProgress, "Constructing list of filenames for CryptoActor\n");
  const std::vector<std::string> cryptoFiles = collectOutputFiles(actors);
  actors[cryptoDN] = keep(new CryptoActor(cryptoDN, cryptoFiles));
  TRACE(traceProgress, "Finished with ldifActorFactory\n");
  return actors;
}
