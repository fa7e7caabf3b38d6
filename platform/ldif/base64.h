// Base64, RFC 4648 section 4.
#ifndef PLATFORM_LDIF_BASE64_H
#define PLATFORM_LDIF_BASE64_H

#include <cstddef>
#include <optional>

namespace ldif {

/// Decodes the `length` characters at `text` in place and returns how many bytes they stand for;
/// nothing where they are not whole groups of four with their padding, or hold any other character.
/// Bits left over in the last group are ignored. The text is undefined after a failure.
std::optional<std::size_t> decodeBase64InPlace(char* text, std::size_t length);

}  // namespace ldif

#endif
