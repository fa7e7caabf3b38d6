#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <new>
#include <string>
#include <string_view>

#include "platform/dirclient/NormalDn.h"
#include "platform/dirclient/NormalText.h"
#include "platform/dirclient/dirclient.h"
#include "platform/dirclient/ldap_debug.h"

namespace {

using dirclient::isBelow;
using dirclient::NormalDn;
using dirclient::NormalText;
using dirclient::orEmpty;

/// FNV-1a, 64 bits.
std::uint64_t fnv1a(std::string_view bytes) {
  std::uint64_t hash = 0xcbf29ce484222325U;
  for (const char c : bytes) {
    hash ^= static_cast<unsigned char>(c);
    hash *= 0x100000001b3U;
  }
  return hash;
}

/// Spreads every input bit over all output bits.
std::uint64_t mix(std::uint64_t hash) {
  hash ^= hash >> 33U;
  hash *= 0xff51afd7ed558ccdU;
  hash ^= hash >> 33U;
  hash *= 0xc4ceb9fe1a85ec53U;
  hash ^= hash >> 33U;
  return hash;
}

/// Jump consistent hash (Lamping and Veach, 2014) in integers: a bucket from 0 to `buckets` - 1.
int jumpConsistentHash(std::uint64_t hash, int buckets) {
  std::int64_t bucket = -1;
  std::int64_t next = 0;
  while (next < buckets) {
    bucket = next;
    hash = hash * 2862933555777941757U + 1;
    next = static_cast<std::int64_t>((static_cast<std::uint64_t>(bucket + 1) << 31U) /
                                     ((hash >> 33U) + 1));
  }
  return static_cast<int>(bucket);
}

void debugDecision(std::string_view part, int server, int serverCount) {
  char what[64];
  std::snprintf(what, sizeof what, "server %d of %d by", server, serverCount);
  dirclient::debugLine(what, part);
}

int serverOfPart(std::string_view part, int serverCount) {
  const int server = jumpConsistentHash(mix(fnv1a(part)), serverCount) + 1;
  if (dirclient::debugging(dirclient::debugHash)) {
    debugDecision(part, server, serverCount);
  }
  return server;
}

/// The last RDN of a normal form.
std::string_view lastRdn(std::string_view normalForm) {
  for (auto comma = normalForm.rfind(','); comma != std::string_view::npos;
       comma = comma == 0 ? std::string_view::npos : normalForm.rfind(',', comma - 1)) {
    if (dirclient::separatesRdns(normalForm, comma)) {
      return normalForm.substr(comma + 1);
    }
  }
  return normalForm;
}

/// Of a DN below the base DN, the RDN directly below that.
std::string_view rdnBelow(std::string_view dn, std::string_view baseDn) {
  return lastRdn(dn.substr(0, dn.size() - baseDn.size() - 1));
}

int serverOfTexts(std::string_view dn, std::string_view baseDn, int serverCount) {
  if (serverCount < 1) {
    return 0;
  }
  const NormalText entry(dn);
  // What follows an RDN of a normal form is one itself, so that it needs no look of its own.
  if (isBelow(entry.text(), baseDn)) {
    return serverOfPart(rdnBelow(entry.text(), baseDn), serverCount);
  }
  const NormalText base(baseDn);
  const bool below = isBelow(entry.text(), base.text());
  return serverOfPart(below ? rdnBelow(entry.text(), base.text()) : entry.text(), serverCount);
}

bool isDnBelow(const NormalDn& dn, const NormalDn& baseDn) {
  if (baseDn.empty() || dn.rdnCount() <= baseDn.rdnCount()) {
    return false;
  }
  const std::size_t begin = dn.rdnBegin(dn.rdnCount() - baseDn.rdnCount());
  return std::string_view(dn.text()).substr(begin) == baseDn.text();
}

}  // namespace

int get_hash_value_from_dn(const char* dn, const char* baseDn, int serverCount) {
  try {
    return serverOfTexts(orEmpty(dn), orEmpty(baseDn), serverCount);
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return 0;
  }
}

int get_hash_value_from_dn_by_schema(const char* dn, const char* baseDn, int serverCount) {
  try {
    NormalDn entry;
    NormalDn base;
    entry.normalize(orEmpty(dn).data(), orEmpty(dn).size(), true);
    base.normalize(orEmpty(baseDn).data(), orEmpty(baseDn).size(), true);
    return dirclient::serverOf(entry, base, serverCount);
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return 0;
  }
}

int dirclient::serverOf(const NormalDn& dn, const NormalDn& baseDn, int serverCount) {
  if (serverCount < 1) {
    return 0;
  }
  if (!isDnBelow(dn, baseDn)) {
    return serverOfTexts(dn.text(), baseDn.text(), serverCount);
  }
  const std::size_t below = dn.rdnCount() - baseDn.rdnCount();
  const std::size_t begin = dn.rdnBegin(below - 1);
  const std::size_t end = dn.rdnBegin(below) - 1;
  const std::string_view rdn(dn.text().data() + begin, end - begin);
  // Normalising lightly what a schema made of the names keeps their RDNs apart, so that of all RDNs
  // one is enough.
  return serverOfPart(dn.isLight() ? rdn : NormalText(rdn).text(), serverCount);
}

int dirclient::serverOf(const std::string& dn, const std::string& baseDn, int serverCount) {
  return serverOfTexts(dn, baseDn, serverCount);
}
