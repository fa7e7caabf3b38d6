// The records that the C interface hands out. A record is one block of memory: the DN, its RDNs,
// its assertions, then the texts.

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

#include "platform/dirclient/DnNormalizer.h"
#include "platform/dirclient/dirclient.h"
#include "platform/dirclient/ldap_debug.h"
#include "platform/schema/Schema.h"

namespace {

using dirclient::DnNormalizer;
using dirclient::NormalAva;

/// Copies `text` and a NUL to `out`, and moves `out` behind them.
char* appendCopy(std::string_view text, char*& out) {
  char* const copy = out;
  if (!text.empty()) {
    std::memcpy(copy, text.data(), text.size());
  }
  copy[text.size()] = '\0';
  out += text.size() + 1;
  return copy;
}

/// Links the RDNs and assertions of a normalised DN. `parts` holds the text as written, in which
/// NULs replace the separators.
void linkParts(const DnNormalizer& dn, ldap_escRDN* rdn, ldap_escAVA* ava, char* parts) {
  ldap_escAVA** link = &rdn->firstValue;
  for (const NormalAva& part : dn.avas()) {
    parts[part.equals] = '\0';
    parts[part.end] = '\0';
    ava->type = parts + part.begin;
    ava->value = parts + part.equals + 1;
    *link = ava;
    link = &ava->next;
    ++ava;
    if (part.lastInRdn) {
      *link = nullptr;
      rdn->next = rdn + 1;
      ++rdn;
      link = &rdn->firstValue;
    }
  }
  // The last assertion ended the last RDN.
  (rdn - 1)->next = nullptr;
}

ldap_escDN* makeRecord(const DnNormalizer& dn) {
  const auto rdnCount = static_cast<std::size_t>(dn.rdnCount());
  const std::size_t avaCount = dn.avas().size();
  const std::size_t partsSize = avaCount == 0 ? 0 : dn.written().size() + 1;
  // Every part is made of pointers up to the texts, so that no padding is needed between them.
  const std::size_t texts =
      sizeof(ldap_escDN) + rdnCount * sizeof(ldap_escRDN) + avaCount * sizeof(ldap_escAVA);
  char* const block = static_cast<char*>(std::malloc(texts + dn.text().size() + 1 + partsSize));
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  auto* const record = new (block) ldap_escDN{};
  char* out = block + texts;
  record->normalizedText = appendCopy(dn.text(), out);
  record->rdnCount = dn.rdnCount();
  if (avaCount != 0) {
    record->firstRDN = reinterpret_cast<ldap_escRDN*>(block + sizeof(ldap_escDN));
    auto* const avas = reinterpret_cast<ldap_escAVA*>(record->firstRDN + rdnCount);
    linkParts(dn, record->firstRDN, avas, appendCopy(dn.written(), out));
  }
  return record;
}

/// Tells which attribute types of a DN the schema does not know.
void debugUnknownTypes(const DnNormalizer& dn, const schema::Schema& schema) {
  for (const NormalAva& ava : dn.avas()) {
    const std::string_view type = dn.written().substr(ava.begin, ava.equals - ava.begin);
    if (schema.findAttributeType(type) == nullptr) {
      dirclient::debugLine("not in the schema", type);
    }
  }
}

ldap_escDN* normalize(const char* text, const schema::Schema* schema) {
  DnNormalizer dn(schema);
  if (!dn.normalize(text != nullptr ? text : "") && text != nullptr && *text != '\0' &&
      dirclient::debugging(dirclient::debugUnparsedDn)) {
    dirclient::debugLine("not a usable DN", text);
  }
  if (schema != nullptr && dirclient::debugging(dirclient::debugSchema)) {
    debugUnknownTypes(dn, *schema);
  }
  return makeRecord(dn);
}

ldap_escDN* normalizeOrNull(const char* text, const schema::Schema* schema) {
  try {
    return normalize(text, schema);
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return nullptr;
  }
}

}  // namespace

ldap_escDN* dn_normalize_light_esc(const char* dn) {
  return normalizeOrNull(dn, nullptr);
}

ldap_escDN* dn_normalize_esc(const char* dn) {
  return normalizeOrNull(dn, schema::loadedSchema());
}

void free_ldap_escDN(ldap_escDN** dn) {
  if (dn != nullptr) {
    std::free(*dn);
    *dn = nullptr;
  }
}
