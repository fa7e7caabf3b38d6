#include "platform/text/base64.h"

#include <gtest/gtest.h>

#include <string>

namespace {

/// Decoded by either function, which have to agree.
std::optional<std::string> decoded(const std::string& text) {
  std::string inPlace = text;
  const auto length = text::decodeBase64InPlace(inPlace.data(), inPlace.size());
  std::optional<std::string> copied = text::base64Decoded(text);
  EXPECT_EQ(copied, length ? std::optional(inPlace.substr(0, *length)) : std::nullopt) << text;
  return copied;
}

// RFC 4648, section 10.
TEST(Base64, TestVectors) {
  EXPECT_EQ(decoded(""), "");
  EXPECT_EQ(decoded("Zg=="), "f");
  EXPECT_EQ(decoded("Zm8="), "fo");
  EXPECT_EQ(decoded("Zm9v"), "foo");
  EXPECT_EQ(decoded("Zm9vYg=="), "foob");
  EXPECT_EQ(decoded("Zm9vYmE="), "fooba");
  EXPECT_EQ(decoded("Zm9vYmFy"), "foobar");
}

TEST(Base64, EveryByte) {
  EXPECT_EQ(decoded("AP+A"), std::string("\x00\xff\x80", 3));
  EXPECT_EQ(decoded("+/+/"), "\xfb\xff\xbf");
}

TEST(Base64, LeftOverBitsAreIgnored) {
  EXPECT_EQ(decoded("Zh=="), "f");
  EXPECT_EQ(decoded("Zm9="), "fo");
}

TEST(Base64, Refused) {
  for (const char* text : {"Z", "Zg", "Zm8", "Zg=", "=", "====", "Z===", "Zg==Zg==", "Zm=v", "=Zm9",
                           "Zm9v=", "Zm 9", " Zm9v", "Zm9v ", "Zm9*", "Zm9\x80", "Zm-_"}) {
    EXPECT_EQ(decoded(text), std::nullopt) << text;
  }
  EXPECT_EQ(decoded(std::string("Zm9\0", 4)), std::nullopt);
}

}  // namespace
