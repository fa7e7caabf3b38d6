// DNs. A normal form, normalised again, stays as it is. The quick scan and the full parser find the
// same normal form. The RDNs of a record, put together again, are its text.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/require.h"
#include "platform/dirclient/NormalDn.h"
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

/// The parts of a normal form that NormalDn tells make it up again.
void checkNormalDn(const std::string& dn, const std::string& normal) {
  dirclient::NormalDn name;
  name.normalize(dn.data(), dn.size(), false);
  require(name.text() == normal, "the two ways to the normal form agree");
  ldap_escDN* record = dn_normalize_light_esc(dn.c_str());
  require(name.rdnCount() == static_cast<std::size_t>(record->rdnCount), "the counts agree");
  free_ldap_escDN(&record);
  for (std::size_t i = 0; i < name.rdnCount(); ++i) {
    const std::string tail = normal.substr(name.rdnBegin(i));
    require(i == 0 || normal[name.rdnBegin(i) - 1] == ',', "a comma stands before an RDN");
    require(normalForm(tail) == tail, "a tail is the normal form of an ancestor");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // As the C interface sees it: up to the first NUL.
  const std::string dn = std::string(reinterpret_cast<const char*>(data), size).c_str();
  const std::string normal = normalForm(dn);
  require(normalForm(normal) == normal, "the normal form is its own");
  require(normalForm("  " + dn) == normal, "the scan and the parser agree");
  checkNormalDn(dn, normal);
  require(normal.find_first_of("\n\r\t") == std::string::npos, "a normal form is one line");
  checkRecord(dn);
  const int server = get_hash_value_from_dn(dn.c_str(), "o=x", 7);
  require(server >= 1 && server <= 7, "the server exists");
  require(get_hash_value_from_dn(normal.c_str(), "O=X", 7) == server, "spelling moves no entry");
  return 0;
}
