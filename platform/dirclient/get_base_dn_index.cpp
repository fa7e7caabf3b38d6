#include <cerrno>
#include <cstddef>
#include <new>
#include <string_view>

#include "platform/dirclient/NormalText.h"
#include "platform/dirclient/dirclient.h"
#include "platform/schema/Schema.h"

namespace {

using dirclient::NormalText;

constexpr int none = -1;
constexpr int outOfMemory = -2;

bool isAtOrBelow(std::string_view dn, std::string_view baseDn) {
  return dn == baseDn || dirclient::isBelow(dn, baseDn);
}

/// How many bytes of the normal form `dn` the base DN makes up, where it is at or above that name;
/// else 0.
std::size_t sizeInDn(std::string_view dn, std::string_view baseDn, const schema::Schema* schema) {
  // What follows an RDN of a normal form is one itself, so that it needs no look of its own.
  if (isAtOrBelow(dn, baseDn)) {
    return baseDn.size();
  }
  const NormalText normal(baseDn, schema);
  return isAtOrBelow(dn, normal.text()) ? normal.text().size() : 0;
}

int innermost(const char* dn, const char* const* baseDns, int count, const schema::Schema* schema) {
  const NormalText name(dirclient::orEmpty(dn), schema);
  int index = none;
  std::size_t longest = 0;
  for (int i = 0; i < count && !name.text().empty(); ++i) {
    const std::size_t size = sizeInDn(name.text(), dirclient::orEmpty(baseDns[i]), schema);
    if (size > longest) {
      longest = size;
      index = i;
    }
  }
  return index;
}

int indexOrError(const char* dn, const char* const* baseDns, int count,
                 const schema::Schema* schema) {
  try {
    return innermost(dn, baseDns, count, schema);
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return outOfMemory;
  }
}

}  // namespace

int get_base_dn_index(const char* dn, const char* const* baseDns, int count) {
  return indexOrError(dn, baseDns, count, nullptr);
}

int get_base_dn_index_by_schema(const char* dn, const char* const* baseDns, int count) {
  return indexOrError(dn, baseDns, count, schema::loadedSchema());
}
