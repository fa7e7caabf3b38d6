#include "actors/AncestorWalk.h"

#include <memory>

#include "actors/normalizeDn.h"

void AncestorWalk::computeParent() {
  const std::unique_ptr<std::string> parent(nLdifActor::getParent(std::string(data(), size())));
  parent_.normalize(parent->data(), parent->size(), schemaInitialized);
  current_ = &parent_;
  rdn_ = 0;
}

bool isParent(const dirclient::NormalDn& parent, const dirclient::NormalDn& dn) {
  AncestorWalk walk(dn);
  return walk.up() && walk.isAt(parent.text());
}

bool isAncestor(const std::string& ancestor, const dirclient::NormalDn& dn) {
  AncestorWalk walk(dn);
  while (walk.up()) {
    if (walk.isAt(ancestor)) {
      return true;
    }
  }
  return false;
}
