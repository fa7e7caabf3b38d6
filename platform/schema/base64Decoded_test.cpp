#include "platform/schema/base64Decoded.h"

#include <gtest/gtest.h>

#include <string>

namespace schema {

namespace {

TEST(Base64Decoded, DecodesTheVectorsOfRfc4648) {
  EXPECT_EQ(base64Decoded(""), "");
  EXPECT_EQ(base64Decoded("Zg=="), "f");
  EXPECT_EQ(base64Decoded("Zm8="), "fo");
  EXPECT_EQ(base64Decoded("Zm9v"), "foo");
  EXPECT_EQ(base64Decoded("Zm9vYg=="), "foob");
  EXPECT_EQ(base64Decoded("Zm9vYmE="), "fooba");
  EXPECT_EQ(base64Decoded("Zm9vYmFy"), "foobar");
}

TEST(Base64Decoded, DecodesAnyByte) {
  EXPECT_EQ(base64Decoded("AP8+/w=="), std::string("\x00\xFF\x3E\xFF", 4));
}

TEST(Base64Decoded, RefusesWhatIsNotBase64) {
  for (const char* text : {"Z", "Zg", "Zg=", "Zg===", "=", "====", "Zm9v=", "Z=9v", "Zm 9v", "Zm9-",
                           "Zm9_", "Zm9\xE4"}) {
    EXPECT_EQ(base64Decoded(text), std::nullopt) << text;
  }
}

}  // namespace

}  // namespace schema
