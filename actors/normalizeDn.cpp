#include "actors/normalizeDn.h"

#include <memory>
#include <new>

#include "platform/dirclient/dirclient.h"

bool schemaInitialized = false;

const char* const rdnSeparator = ",";
const char* const rdnAttrSeparator = "=";

namespace nLdifActor {
namespace {

struct RecordDeleter {
  void operator()(ldap_escDN* record) const { free_ldap_escDN(&record); }
};

using ParsedDn = std::unique_ptr<ldap_escDN, RecordDeleter>;

/// Keeps the client library quiet for a scope, whatever level the user has set.
class SilentLibrary {
 public:
  SilentLibrary() : level_(read_ldap_debug()) { write_ldap_debug(0); }
  ~SilentLibrary() { write_ldap_debug(level_); }
  SilentLibrary(const SilentLibrary&) = delete;
  SilentLibrary& operator=(const SilentLibrary&) = delete;

 private:
  int level_;
};

ParsedDn parse(const std::string& dn) {
  const SilentLibrary silence;
  ParsedDn record(schemaInitialized ? dn_normalize_esc(dn.c_str())
                                    : dn_normalize_light_esc(dn.c_str()));
  if (record == nullptr) {
    throw std::bad_alloc();
  }
  return record;
}

}  // namespace

std::string& normalizeDn(std::string& dn) {
  dn = parse(dn)->normalizedText;
  return dn;
}

std::string* getParent(const std::string& dn) {
  const ParsedDn record = parse(dn);
  if (record->rdnCount <= 1) {
    return nullptr;
  }
  std::unique_ptr<std::string> parent(new std::string);
  for (const ldap_escRDN* rdn = record->firstRDN->next; rdn != nullptr; rdn = rdn->next) {
    for (const ldap_escAVA* ava = rdn->firstValue; ava != nullptr; ava = ava->next) {
      *parent += ava->type;
      *parent += rdnAttrSeparator;
      *parent += ava->value;
    }
    *parent += rdnSeparator;
  }
  parent->pop_back();
  normalizeDn(*parent);
  return parent.release();
}

}  // namespace nLdifActor
