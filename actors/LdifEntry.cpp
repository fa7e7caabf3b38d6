#include "actors/LdifEntry.h"

#include "actors/AncestorWalk.h"
#include "actors/normalizeDn.h"

LdifEntry::LdifEntry() : rawEntry_(new RawEntry) {}

LdifEntry::~LdifEntry() {
  rawEntry_->word = 0;
}

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
  std::string wanted(parentDn);
  nLdifActor::normalizeDn(wanted);
  AncestorWalk walk(dn_);
  return walk.up() && walk.isAt(wanted);
}

bool LdifEntry::hasParent(LdifEntry& other) const {
  return hasParent(other.dn_.c_str());
}

bool LdifEntry::hasAncestor(const char* ancestorDn) const {
  std::string wanted(ancestorDn);
  nLdifActor::normalizeDn(wanted);
  AncestorWalk walk(dn_);
  while (walk.up()) {
    if (walk.isAt(wanted)) {
      return true;
    }
  }
  return false;
}

bool LdifEntry::hasAncestor(LdifEntry& other) const {
  return hasAncestor(other.dn_.c_str());
}

RawEntry* LdifEntry::getEntry() {
  rawEntry_->word = 0;
  return rawEntry_.get();
}
