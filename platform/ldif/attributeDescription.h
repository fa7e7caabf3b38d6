// Attribute descriptions, as LDIF lines begin with them (RFC 2849, RFC 4512 section 2.5).
#ifndef PLATFORM_LDIF_ATTRIBUTEDESCRIPTION_H
#define PLATFORM_LDIF_ATTRIBUTEDESCRIPTION_H

#include "platform/text/attributeType.h"

namespace ldif {

/// Behind the attribute description at `at`: a type, then any number of options, each with a `;`
/// before it. A null pointer where there is none. Some byte that belongs to none, such as a NUL or
/// a line feed, has to follow. `Char` is char or const char.
template <typename Char>
Char* skipAttributeDescription(Char* at) {
  for (;;) {
    Char* const part = at;
    while (text::isAttributeTypeCharacter(*at)) {
      ++at;
    }
    if (at == part) {
      return nullptr;
    }
    if (*at != ';') {
      return at;
    }
    ++at;
  }
}

}  // namespace ldif

#endif
