#include "actors/AncestorWalk.h"

#include <memory>

#include "actors/normalizeDn.h"

void AncestorWalk::computeParent() {
  const std::unique_ptr<std::string> parent(nLdifActor::getParent(std::string(data(), size())));
  std::unique_ptr<dirclient::NormalDn> computed(new dirclient::NormalDn);
  computed->normalize(parent->data(), parent->size(), schemaInitialized);
  parent_ = std::move(computed);
  current_ = parent_.get();
  rdn_ = 0;
}
