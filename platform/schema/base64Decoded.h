// Base64 values of LDIF lines.
#ifndef PLATFORM_SCHEMA_BASE64DECODED_H
#define PLATFORM_SCHEMA_BASE64DECODED_H

#include <optional>
#include <string>
#include <string_view>

namespace schema {

/// What the text stands for (RFC 4648, section 4), nothing where it is not base64. The padding has
/// to be there; blanks may not.
std::optional<std::string> base64Decoded(std::string_view text);

}  // namespace schema

#endif
