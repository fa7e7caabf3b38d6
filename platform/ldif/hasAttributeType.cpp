#include "platform/ldif/hasAttributeType.h"

#include <string_view>

#include "platform/text/equalIgnoringCase.h"

bool hasAttributeType(const char* line, std::size_t size, const char* type) {
  const std::string_view wanted(type);
  const std::string_view text(line, size);
  if (!text::equalIgnoringCase(text.substr(0, wanted.size()), wanted)) {
    return false;
  }
  const auto behind = text.find_first_not_of(' ', wanted.size());
  return behind == std::string_view::npos || text[behind] == ':';
}
