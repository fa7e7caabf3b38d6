#include <cstdint>
#include <cstdio>
#include <optional>
#include <string_view>

#include "platform/dirclient/DnNormalizer.h"
#include "platform/dirclient/dirclient.h"
#include "platform/dirclient/ldap_debug.h"
#include "platform/dirclient/separatesRdns.h"

namespace {

using dirclient::DnNormalizer;

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

/// The last RDN of a normal form.
std::string_view lastRdn(std::string_view text) {
  for (auto comma = text.rfind(','); comma != std::string_view::npos;
       comma = comma == 0 ? std::string_view::npos : text.rfind(',', comma - 1)) {
    if (dirclient::separatesRdns(text.data(), comma)) {
      return text.substr(comma + 1);
    }
  }
  return text;
}

/// What decides of a DN: its RDN directly below the base DN, or all of it where it is not below.
std::string_view decidingPart(std::string_view dn, std::string_view baseDn) {
  if (baseDn.empty() || dn.size() < baseDn.size() + 2 || !dn.ends_with(baseDn)) {
    return dn;
  }
  const auto comma = dn.size() - baseDn.size() - 1;
  if (dn[comma] != ',' || !dirclient::separatesRdns(dn.data(), comma)) {
    return dn;
  }
  return lastRdn(dn.substr(0, comma));
}

void debugDecision(std::string_view part, int server, int serverCount) {
  char what[64];
  std::snprintf(what, sizeof what, "server %d of %d by", server, serverCount);
  dirclient::debugLine(what, part);
}

/// The light normal form of a DN; the text itself where that is known to be in normal form.
class LightNormalForm {
 public:
  explicit LightNormalForm(std::string_view dn) : text_(dn) {
    if (!dirclient::isKnownNormal(dn, nullptr)) {
      normalizer_.emplace();
      normalizer_->normalize(dn);
      text_ = normalizer_->text();
    }
  }

  std::string_view text() const { return text_; }

 private:
  std::string_view text_;
  std::optional<DnNormalizer> normalizer_;
};

std::string_view orEmpty(const char* text) {
  return text != nullptr ? std::string_view(text) : std::string_view();
}

}  // namespace

int get_hash_value_from_dn(const char* dn, const char* baseDn, int serverCount) {
  if (serverCount < 1) {
    return 0;
  }
  const LightNormalForm entry(orEmpty(dn));
  const LightNormalForm base(orEmpty(baseDn));
  const std::string_view part = decidingPart(entry.text(), base.text());
  const int server = jumpConsistentHash(mix(fnv1a(part)), serverCount) + 1;
  if (dirclient::debugging(dirclient::debugHash)) {
    debugDecision(part, server, serverCount);
  }
  return server;
}
