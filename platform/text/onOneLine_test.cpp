#include "platform/text/onOneLine.h"

#include <gtest/gtest.h>

namespace {

TEST(OnOneLine, EscapesControlBytesAndNothingElse) {
  EXPECT_EQ(text::onOneLine(std::string("a\0b\r\x1B[\x7F \\ \xC3\xA4", 12)),
            "a\\00b\\0D\\1B[\\7F \\ \xC3\xA4");
  EXPECT_EQ(text::onOneLine(""), "");
}

}  // namespace
