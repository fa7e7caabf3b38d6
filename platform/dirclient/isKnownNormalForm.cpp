#include "platform/dirclient/isKnownNormalForm.h"

#include "platform/dirclient/DnNormalizer.h"
#include "platform/schema/Schema.h"

namespace dirclient {

bool isKnownNormalForm(const std::string& dn, bool withSchema) {
  return isKnownNormal(dn, withSchema ? schema::loadedSchema() : nullptr);
}

}  // namespace dirclient
