#include "platform/dirclient/isKnownNormalForm.h"

#include "platform/dirclient/DnNormalizer.h"

namespace dirclient {

bool isKnownNormalForm(const std::string& dn, bool /*withSchema*/) {
  return isKnownNormal(dn, nullptr);
}

}  // namespace dirclient
