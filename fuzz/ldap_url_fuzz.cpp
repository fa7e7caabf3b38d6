// LDAP URLs: every text is accepted or refused, and what is accepted is printable ASCII.

#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/require.h"
#include "platform/dirclient/dirclient.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string text = std::string(reinterpret_cast<const char*>(data), size).c_str();
  const std::string before = text;
  if (ldap_is_ldap_url(text.data()) != 0) {
    for (const char c : text) {
      require(c > 0x20 && c < 0x7F, "an accepted URL is printable ASCII");
    }
  }
  require(text == before, "the text stays as it is");
  return 0;
}
