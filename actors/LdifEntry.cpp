#include "actors/LdifEntry.h"

#include <cstring>

#include "actors/AncestorWalk.h"
#include "actors/normalizeDn.h"

void LdifEntry::setName(const std::string& name) {
  dn.normalize(name.c_str(), std::strlen(name.c_str()), schemaInitialized);
}

void LdifEntry::clear() {
  dn = dirclient::NormalDn();
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
  AncestorWalk walk(dn);
  return walk.up() && walk.isAt(other.getName());
}

bool LdifEntry::hasAncestor(const char* ancestorDn) const {
  LdifEntry ancestor;
  ancestor.setName(ancestorDn);
  return hasAncestor(ancestor);
}

bool LdifEntry::hasAncestor(LdifEntry& other) const {
  AncestorWalk walk(dn);
  while (walk.up()) {
    if (walk.isAt(other.getName())) {
      return true;
    }
  }
  return false;
}

RawEntry* LdifEntry::getEntry() {
  rawEntry.word = 0;
  return &rawEntry;
}
