#include "actors/LdifEntry.h"

#include "actors/AncestorWalk.h"
#include "actors/normalizeDn.h"

void LdifEntry::setName(const std::string& name) {
  dn = name;
  nLdifActor::normalizeDn(dn);
}

void LdifEntry::clear() {
  dn.clear();
  attributes.clear();
}

void LdifEntry::addAttribute(const std::string& type, const std::string& value) {
  attributes.emplace_back(type, value);
}

bool LdifEntry::hasParent(const char* parentDn) const {
  if (parentDn == nullptr) {
    return false;
  }
  LdifEntry parent;
  parent.setName(parentDn);
  return hasParent(parent);
}

bool LdifEntry::hasParent(LdifEntry& other) const {
  AncestorWalk walk(*this);
  return walk.up() && walk.isAt(other.dn);
}

bool LdifEntry::hasAncestor(const char* ancestorDn) const {
  LdifEntry ancestor;
  ancestor.setName(ancestorDn);
  return hasAncestor(ancestor);
}

bool LdifEntry::hasAncestor(LdifEntry& other) const {
  AncestorWalk walk(*this);
  while (walk.up()) {
    if (walk.isAt(other.dn)) {
      return true;
    }
  }
  return false;
}

RawEntry* LdifEntry::getEntry() {
  rawEntry.word = 0;
  return &rawEntry;
}
