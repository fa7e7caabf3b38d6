#include "platform/dirclient/NormalDn.h"

#include <string_view>

#include "platform/dirclient/DnNormalizer.h"
#include "platform/dirclient/NormalFormScan.h"
#include "platform/schema/Schema.h"
#include "platform/text/isAscii.h"
#include "platform/text/upperCaseCopy.h"

namespace dirclient {

void NormalDn::normalize(const char* dn, std::size_t size, bool bySchema) {
  const schema::Schema* const schema = bySchema ? schema::loadedSchema() : nullptr;
  if (normalizeOrdinary(dn, size, schema)) {
    isLight_ = true;
  } else {
    normalizeAny(dn, size, schema);
  }
}

// Never inlined: with these objects on its stack, the function above would guard it at each call.
[[gnu::noinline]] void NormalDn::normalizeAny(const char* dn, std::size_t size,
                                              const schema::Schema* schema) {
  isLight_ = schema == nullptr;
  DnNormalizer normalizer(schema);
  normalizer.normalize(std::string_view(dn, size));
  text_.assign(normalizer.text());
  forgetRdns();
  for (const NormalAva& ava : normalizer.avas()) {
    take(ava);
  }
}

/// Nearly every DN needs nothing but capitals. For those no other memory is needed than this
/// object's.
bool NormalDn::normalizeOrdinary(const char* dn, std::size_t size, const schema::Schema* schema) {
  if (!text::isAscii(dn, size)) {
    return false;
  }
  NormalFormScan scan(std::string_view(dn, size), schema);
  bool ignoresCase = true;
  forgetRdns();
  const bool recognised = scan.run([&](const NormalAva& ava) {
    take(ava);
    ignoresCase = ignoresCase && ava.ignoresCase;
  });
  if (!recognised || scan.hasSeveralValues() || !ignoresCase) {
    return false;
  }
  text_.resize(size);
  text::upperCaseCopy(dn, size, text_.data());
  return true;
}

void NormalDn::forgetRdns() {
  rdnBegins_.clear();
  nextRdnBegin_ = 0;
  lastRdnOfSeveralValues_ = 0;
}

inline void NormalDn::take(const NormalAva& ava) {
  if (ava.lastInRdn) {
    rdnBegins_.push_back(nextRdnBegin_);
    nextRdnBegin_ = ava.end + 1;
  } else {
    lastRdnOfSeveralValues_ = rdnBegins_.size();
  }
}

}  // namespace dirclient
