#ifndef PLATFORM_LDIF_HASATTRIBUTETYPE_H
#define PLATFORM_LDIF_HASATTRIBUTETYPE_H

#include <cstddef>

/// Whether the attribute type of a line of LDIF is `type` in any case, without options: it stands at
/// the front, and a colon follows it, or blanks and a colon. The line has `size` bytes at `line`;
/// `type` is NUL-terminated. C++14 can read this.
bool hasAttributeType(const char* line, std::size_t size, const char* type);

#endif
