// DNs. A normal form, normalised again, stays as it is. The quick scan and the full parser find the
// same normal form. The RDNs of a record, put together again, are its text.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/require.h"
#include "platform/dirclient/DnNormalizer.h"
#include "platform/dirclient/dirclient.h"

namespace {

std::string normalForm(const std::string& dn) {
  ldap_escDN* record = dn_normalize_light_esc(dn.c_str());
  std::string text = record->normalizedText;
  free_ldap_escDN(&record);
  return text;
}

/// The normal form put together from the parts of the record.
std::string joined(const ldap_escDN& dn) {
  std::string text;
  for (const ldap_escRDN* rdn = dn.firstRDN; rdn != nullptr; rdn = rdn->next) {
    std::vector<std::string> parts;
    for (const ldap_escAVA* ava = rdn->firstValue; ava != nullptr; ava = ava->next) {
      parts.push_back(std::string(ava->type) + "=" + ava->value);
    }
    std::sort(parts.begin(), parts.end());
    for (const std::string& part : parts) {
      text += (text.empty() ? "" : &part == &parts.front() ? "," : "+") + part;
    }
  }
  return text;
}

void checkRecord(const std::string& dn) {
  ldap_escDN* record = dn_normalize_light_esc(dn.c_str());
  require((record->rdnCount == 0) == (record->firstRDN == nullptr), "count and RDNs agree");
  require((record->rdnCount == 0) == (*record->normalizedText == '\0'), "count and text agree");
  require(joined(*record) == record->normalizedText, "the parts make the text");
  free_ldap_escDN(&record);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // As the C interface sees it: up to the first NUL.
  const std::string dn = std::string(reinterpret_cast<const char*>(data), size).c_str();
  const std::string normal = normalForm(dn);
  require(normalForm(normal) == normal, "the normal form is its own");
  require(normalForm("  " + dn) == normal, "the scan and the parser agree");
  if (dirclient::isKnownNormal(dn, nullptr)) {
    require(normal == dn, "what is known to be normal is");
  }
  require(normal.find_first_of("\n\r\t") == std::string::npos, "a normal form is one line");
  checkRecord(dn);
  const int server = get_hash_value_from_dn(dn.c_str(), "o=x", 7);
  require(server >= 1 && server <= 7, "the server exists");
  require(get_hash_value_from_dn(normal.c_str(), "O=X", 7) == server, "spelling moves no entry");
  return 0;
}
