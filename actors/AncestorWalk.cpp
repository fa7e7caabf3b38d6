#include "actors/AncestorWalk.h"

#include "actors/normalizeDn.h"
#include "platform/dirclient/isKnownNormalForm.h"
#include "platform/dirclient/separatesRdns.h"

namespace {

/// Where the RDN that starts at `offset` of a normal form ends: at its comma, or npos.
std::string::size_type rdnEnd(const std::string& dn, std::string::size_type offset) {
  auto comma = dn.find(',', offset);
  while (comma != std::string::npos && !dirclient::separatesRdns(dn.data(), comma)) {
    comma = dn.find(',', comma + 1);
  }
  return comma;
}

/// Whether the parents of a DN in normal form are tails of its text: getParent joins the assertions
/// of a multi-valued RDN in another way. An escaped '+' is rare enough to be taken for one of
/// those.
bool isSingleValued(const std::string& dn) {
  return dn.find('+') == std::string::npos;
}

}  // namespace

AncestorWalk::AncestorWalk(const std::string& dn)
    : current_(&dn),
      parentsAreTails_(isSingleValued(dn) && dirclient::isKnownNormalForm(dn, schemaInitialized)) {}

AncestorWalk::AncestorWalk(const LdifEntry& entry)
    : current_(&entry.getName()), parentsAreTails_(isSingleValued(entry.getName())) {}

bool AncestorWalk::up() {
  if (parentsAreTails_) {
    const auto end = rdnEnd(*current_, offset_);
    if (end == std::string::npos) {
      return false;
    }
    offset_ = end + 1;
    return true;
  }
  std::unique_ptr<std::string> parent(nLdifActor::getParent(*current_));
  if (parent == nullptr) {
    return false;
  }
  parent_ = std::move(parent);
  current_ = parent_.get();
  offset_ = 0;
  parentsAreTails_ = isSingleValued(*parent_);
  return true;
}
