#include "platform/text/attributeType.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(AttributeType, Characters) {
  std::string characters;
  for (int byte = 0; byte < 256; ++byte) {
    const char c = static_cast<char>(byte);
    if (text::isAttributeTypeCharacter(c)) {
      characters += c;
    }
  }
  EXPECT_EQ(characters, "-.0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz");
}

}  // namespace
