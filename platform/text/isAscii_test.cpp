#include "platform/text/isAscii.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(IsAscii, OfEveryLengthWithOneByteOutsideAtEveryPlace) {
  for (std::size_t length = 0; length < 70; ++length) {
    std::string text(length, '\x7F');
    EXPECT_TRUE(text::isAscii(text.data(), length));
    for (std::size_t at = 0; at < length; ++at) {
      for (const char outside : {'\x80', '\xff'}) {
        text[at] = outside;
        EXPECT_FALSE(text::isAscii(text.data(), length)) << at << " of " << length;
        EXPECT_TRUE(text::isAscii(text.data(), at));
        EXPECT_TRUE(text::isAscii(text.data() + at + 1, length - at - 1));
      }
      text[at] = '\0';
    }
  }
}

}  // namespace
