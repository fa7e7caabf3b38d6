// The client library's own debug lines.
#ifndef PLATFORM_DIRCLIENT_LDAP_DEBUG_H
#define PLATFORM_DIRCLIENT_LDAP_DEBUG_H

#include <string_view>

namespace dirclient {

/// The bits of the debug level.
enum DebugBit : int { debugTool = 1, debugUnparsedDn = 2, debugHash = 4, debugSchema = 8 };

bool debugging(DebugBit bit);

/// Writes `what` and `text` as one line to standard error; control bytes in `text` are shown as `\`
/// and two hexadecimal digits.
void debugLine(const char* what, std::string_view text);

}  // namespace dirclient

#endif
