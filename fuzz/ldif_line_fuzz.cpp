// LDIF lines: the parser returns one of its three results, and a DN that it hands out has no byte
// that would end the line it is written in.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/require.h"
#include "platform/ldif/ldifLineKind.h"
#include "platform/ldif/str_parse_line_v_or_bv.h"

namespace {

/// Whether each line feed is the last byte or begins a fold, as in the lines that the split hands
/// over.
bool isOneLogicalLine(const std::string& text) {
  for (auto at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 1)) {
    if (at + 1 != text.size() && text[at + 1] != ' ') {
      return false;
    }
  }
  return true;
}

const std::string padding(ldifLinePadding, ':');

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = std::string(reinterpret_cast<const char*>(data), size).c_str();
  const LdifLineKind kind = isOneLogicalLine(text)
                                ? ldifLineKind((text + padding).c_str(), text.size())
                                : LdifLineKind::other;
  std::vector<char> line(text.c_str(), text.c_str() + text.size() + 1);
  char* type = nullptr;
  char* value = nullptr;
  char* url = nullptr;
  int length = 0;
  int encoding = 0;
  const int result =
      str_parse_line_v_or_bv(line.data(), &type, &value, &length, 1, &url, &encoding);
  if (result != 0) {
    require(result == ldifLineInvalid || result == ldifLineSkipped, "the result is documented");
    require(type == nullptr && value == nullptr && url == nullptr, "no result, no pointers");
    require(kind == LdifLineKind::other, "a line of a known kind parses");
    return 0;
  }
  require(value[length] == '\0', "the value ends in a NUL");
  require(std::strlen(type) > 0, "the type is not empty");
  require((encoding == ldifValueUrl) == (url != nullptr), "a URL is told by its encoding");
  const bool isDn = std::strcmp(type, "dn") == 0;
  require(kind != LdifLineKind::attribute || (encoding != ldifValueUrl && !isDn),
          "an attribute line is none of a DN or a URL");
  require(kind != LdifLineKind::dn || "dn: " + std::string(value) + "\n" == text,
          "a dn line as written says what it is");
  if (isDn) {
    require(std::strlen(value) == static_cast<std::size_t>(length), "a DN holds no NUL");
    require(std::strchr(value, '\n') == nullptr, "a DN is one line");
  }
  return 0;
}
