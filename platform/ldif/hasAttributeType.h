#ifndef PLATFORM_LDIF_HASATTRIBUTETYPE_H
#define PLATFORM_LDIF_HASATTRIBUTETYPE_H

#include <cstddef>

/// Whether the attribute type of a line of LDIF, or of the type alone of such a line, is `type` in
/// any case and without options: it stands at the front, and what follows is a colon or nothing,
/// behind any number of blanks. The line has `size` bytes at `line`; `type` is NUL-terminated.
/// C++14 can read this.
bool hasAttributeType(const char* line, std::size_t size, const char* type);

#endif
