// Bytes written as `\` and two upper-case hexadecimal digits: control bytes in a line that somebody
// reads, and in a DN (RFC 4514, section 2.4).
#ifndef PLATFORM_TEXT_ESCAPE_H
#define PLATFORM_TEXT_ESCAPE_H

#include <string>
#include <string_view>

#include "platform/text/hexadecimal.h"

namespace text {

/// Appends the byte as `\` and two hexadecimal digits. `String` is std::string or std::pmr::string.
template <typename String>
void appendHexEscape(char c, String& result) {
  const auto byte = static_cast<unsigned char>(c);
  const char escape[] = {'\\', upperHexDigit(byte >> 4U), upperHexDigit(byte)};
  result.append(escape, sizeof escape);
}

/// Appends `shown` with its control bytes escaped, so that it stays on one line and does nothing to
/// a terminal. All other bytes are appended as they are, `\` too: the result is for eyes, and not
/// to be read back.
void appendOnOneLine(std::string_view shown, std::string& result);

}  // namespace text

#endif
