#include "platform/text/escape.h"

#include <gtest/gtest.h>

#include <memory_resource>
#include <string>

namespace {

std::string onOneLine(std::string_view shown) {
  std::string result = "> ";
  text::appendOnOneLine(shown, result);
  return result;
}

TEST(AppendHexEscape, AppendsToEitherString) {
  std::string result = "a";
  text::appendHexEscape('\n', result);
  text::appendHexEscape('\xC3', result);
  EXPECT_EQ(result, "a\\0A\\C3");
  std::pmr::string other = "b";
  text::appendHexEscape('\0', other);
  EXPECT_EQ(other, "b\\00");
}

TEST(AppendOnOneLine, ControlBytes) {
  EXPECT_EQ(onOneLine(std::string_view("a\0b\n\x1F\x7F\x1B[0m", 10)),
            "> a\\00b\\0A\\1F\\7F\\1B[0m");
}

TEST(AppendOnOneLine, OtherBytesAsTheyAre) {
  EXPECT_EQ(onOneLine(""), "> ");
  EXPECT_EQ(onOneLine(" ~\\\xC3\xA9\x80\xFF"), ">  ~\\\xC3\xA9\x80\xFF");
}

}  // namespace
