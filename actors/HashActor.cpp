#include "actors/HashActor.h"

#include <cassert>
#include <memory>

#include "actors/AncestorWalk.h"
#include "platform/dirclient/dirclient.h"
#include "platform/trace/trace.h"

HashActor::HashActor(const std::string& base, const std::vector<ServerPairs>& servers)
    : LdifActor(base, servers) {
  for (const ServerPairs& server : serverLists) {
    assert(!server.empty());
    outputFiles.push_back(server.back().second);
  }
}

std::vector<std::string>* HashActor::doGetOutputFilename(const std::string& dn) {
  std::unique_ptr<std::vector<std::string>> files(new std::vector<std::string>);
  if (isInside(dn)) {
    const int server =
        get_hash_value_from_dn(dn.c_str(), baseDn.c_str(), static_cast<int>(outputFiles.size()));
    files->push_back(outputFiles[static_cast<std::size_t>(server) - 1]);
  } else {
    TRACE(traceProgress, "Warning:  HashActor handling DN outside of its subtree\n");
    files->emplace_back();
  }
  return files.release();
}

/// A child of the base DN in any spelling of the base DN; deeper down, the base DN has to be met on
/// the way up exactly as it is stored.
bool HashActor::isInside(const std::string& dn) const {
  LdifEntry entry;
  entry.setNormalName(dn);
  if (entry.hasParent(baseEntry())) {
    return true;
  }
  if (!entry.hasAncestor(baseEntry())) {
    return false;
  }
  AncestorWalk ancestor(entry);
  ancestor.up();
  while (ancestor.up()) {
    if (ancestor.isAt(baseDn)) {
      return true;
    }
  }
  return false;
}

void HashActor::receiveEntry(const LdifEntry& /*entry*/) {}
