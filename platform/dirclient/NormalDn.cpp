#include "platform/dirclient/NormalDn.h"

#include <string_view>

#include "platform/dirclient/DnNormalizer.h"
#include "platform/schema/Schema.h"

namespace dirclient {

void NormalDn::normalize(const char* dn, std::size_t size, bool bySchema) {
  DnNormalizer normalizer(bySchema ? schema::loadedSchema() : nullptr);
  normalizer.normalize(std::string_view(dn, size));
  text_.assign(normalizer.text());
  isBySchema_ = bySchema;
  lastRdnOfSeveralValues_ = 0;
  rdnBegins_.clear();
  std::size_t rdnBegin = 0;
  for (const NormalAva& ava : normalizer.avas()) {
    if (ava.lastInRdn) {
      rdnBegins_.push_back(rdnBegin);
      rdnBegin = ava.end + 1;
    } else {
      lastRdnOfSeveralValues_ = rdnBegins_.size();
    }
  }
}

}  // namespace dirclient
