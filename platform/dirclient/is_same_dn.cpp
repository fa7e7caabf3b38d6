#include <cerrno>
#include <new>

#include "platform/dirclient/NormalText.h"
#include "platform/dirclient/dirclient.h"
#include "platform/schema/Schema.h"

namespace {

using dirclient::NormalText;

int isSame(const char* dn, const char* other, const schema::Schema* schema) {
  try {
    const NormalText first(dirclient::orEmpty(dn), schema);
    if (first.text().empty()) {
      return 0;
    }
    const NormalText second(dirclient::orEmpty(other), schema);
    return first.text() == second.text() ? 1 : 0;
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return 0;
  }
}

}  // namespace

int is_same_dn(const char* dn, const char* other) {
  return isSame(dn, other, nullptr);
}

int is_same_dn_by_schema(const char* dn, const char* other) {
  return isSame(dn, other, schema::loadedSchema());
}
