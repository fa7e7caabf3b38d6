#include "actors/HashActor.h"

#include <cassert>
#include <cstring>

#include "actors/AncestorWalk.h"
#include "actors/normalizeDn.h"
#include "platform/dirclient/dirclient.h"
#include "platform/trace/trace.h"

HashActor::HashActor(const std::string& base, const std::vector<ServerPairs>& servers)
    : LdifActor(base, servers) {
  for (const ServerPairs& server : serverLists) {
    assert(!server.empty());
    outputFiles.push_back(server.back().second);
  }
  fileOfServer_.push_back(&noFile_);
  for (const std::string& name : outputFiles) {
    fileOfServer_.push_back(&name);
  }
}

std::vector<std::string>* HashActor::doGetOutputFilename(const std::string& dn) {
  dirclient::NormalDn entry;
  entry.normalize(dn.c_str(), std::strlen(dn.c_str()), schemaInitialized);
  dirclient::NormalDn base;
  base.normalize(baseDn.c_str(), std::strlen(baseDn.c_str()), schemaInitialized);
  return new std::vector<std::string>(
      1, *fileOfServer_[static_cast<std::size_t>(serverNumber(entry, base))]);
}

FileNames HashActor::outputFilesOf(const dirclient::NormalDn& dn) {
  return FileNames(&fileOfServer_[static_cast<std::size_t>(serverNumber(dn, normalBaseDn()))], 1);
}

/// Whether `dn` is below the base DN. Its parent may be the base DN in any spelling of that; an
/// ancestor higher up has to be the text that the actor was made with, byte for byte.
bool HashActor::isInside(const dirclient::NormalDn& dn, const dirclient::NormalDn& base) const {
  AncestorWalk walk(dn);
  if (!walk.up()) {
    return false;
  }
  if (walk.isAt(base.text())) {
    return true;
  }
  while (walk.up()) {
    if (walk.isAt(baseDn)) {
      return true;
    }
  }
  return false;
}

int HashActor::serverNumber(const dirclient::NormalDn& dn, const dirclient::NormalDn& base) const {
  if (!isInside(dn, base)) {
    TRACE(traceProgress, "Warning:  HashActor handling DN outside of its subtree\n");
    return 0;
  }
  const int servers = static_cast<int>(outputFiles.size());
  // The hash is that of the base DN as stored. The configuration stores a normal form.
  return base.text() == baseDn ? dirclient::serverOf(dn, base, servers)
                               : dirclient::serverOf(dn.text(), baseDn, servers);
}

void HashActor::receiveEntry(const LdifEntry& /*entry*/) {}
