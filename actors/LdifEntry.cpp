#include "actors/LdifEntry.h"

#include "actors/AncestorWalk.h"
#include "actors/normalizeDn.h"

void LdifEntry::setName(const std::string& dn) {
  dn_ = dn;
  nLdifActor::normalizeDn(dn_);
}

void LdifEntry::clear() {
  dn_.clear();
  attributes_.clear();
}

void LdifEntry::addAttribute(const std::string& type, const std::string& value) {
  attributes_.emplace_back(type, value);
}

bool LdifEntry::hasParent(const char* parentDn) const {
  if (parentDn == nullptr) {
    return false;
  }
  LdifEntry parent;
  parent.setName(parentDn);
  return hasParent(parent);
}

bool LdifEntry::hasParent(const LdifEntry& other) const {
  AncestorWalk walk(*this);
  return walk.up() && walk.isAt(other.dn_);
}

bool LdifEntry::hasAncestor(const char* ancestorDn) const {
  LdifEntry ancestor;
  ancestor.setName(ancestorDn);
  return hasAncestor(ancestor);
}

bool LdifEntry::hasAncestor(const LdifEntry& other) const {
  AncestorWalk walk(*this);
  while (walk.up()) {
    if (walk.isAt(other.dn_)) {
      return true;
    }
  }
  return false;
}

RawEntry* LdifEntry::getEntry() {
  rawEntry_.word = 0;
  return &rawEntry_;
}
