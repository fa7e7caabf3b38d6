#include "platform/text/Bytes16.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using text::PlaceMask;

/// The places of the bytes for which the predicate holds, found one by one.
template <typename Predicate>
PlaceMask placesOf(const std::string& bytes, const Predicate& predicate) {
  PlaceMask mask = 0;
  for (std::size_t i = 0; i < text::bytesAtOnce; ++i) {
    mask |= predicate(static_cast<unsigned char>(bytes[i])) ? PlaceMask{1} << i : 0;
  }
  return mask;
}

template <typename Bytes>
class BytesOf : public ::testing::Test {};

#if defined(__SSE2__)
using Kinds = ::testing::Types<text::PlainBytes16, text::Sse2Bytes16>;
#else
using Kinds = ::testing::Types<text::PlainBytes16>;
#endif
TYPED_TEST_SUITE(BytesOf, Kinds);

TYPED_TEST(BytesOf, MaskHasABitForEachByteOutsideAscii) {
  const std::string bytes(
      "a\x80"
      "b\xff"
      "0123456789A\xc3",
      16);
  EXPECT_EQ(TypeParam(bytes.data()).mask(), 0x800AU);
}

TYPED_TEST(BytesOf, EveryByteIsComparedByItself) {
  std::mt19937 random(16);
  for (int round = 0; round < 20000; ++round) {
    std::string bytes(text::bytesAtOnce, '\0');
    for (char& c : bytes) {
      c = static_cast<char>(random());
    }
    const char low = static_cast<char>(random());
    const char high = static_cast<char>(random());
    const auto first = static_cast<unsigned char>(low);
    const auto last = static_cast<unsigned char>(high);
    const TypeParam block(bytes.data());
    ASSERT_EQ(block.equal(low).mask(),
              placesOf(bytes, [&](unsigned char c) { return c == first; }));
    if (first <= last) {
      ASSERT_EQ(block.between(low, high).mask(),
                placesOf(bytes, [&](unsigned char c) { return c >= first && c <= last; }));
    }
    ASSERT_EQ((block.equal(low) | block.equal(high)).mask(),
              placesOf(bytes, [&](unsigned char c) { return c == first || c == last; }));
  }
}

TYPED_TEST(BytesOf, AnAnswerHasAllBitsOfAByteOrNone) {
  const std::string bytes = "abcdefghijklmnop";
  std::string stored(text::bytesAtOnce, '?');
  TypeParam(bytes.data()).equal('b').store(stored.data());
  EXPECT_EQ(stored, std::string("\0\xFF", 2) + std::string(14, '\0'));
  TypeParam(bytes.data()).between('o', 'z').store(stored.data());
  EXPECT_EQ(stored, std::string(14, '\0') + "\xFF\xFF");
}

TYPED_TEST(BytesOf, SmallLettersAreMadeOfLettersAlone) {
  for (int start = 0; start < 256; start += 16) {
    std::string bytes;
    for (int byte = start; byte < start + 16; ++byte) {
      bytes += static_cast<char>(byte);
    }
    EXPECT_EQ(TypeParam(bytes.data()).withSmallLetters().between('a', 'z').mask(),
              placesOf(bytes, [](unsigned char c) {
                return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
              }));
  }
}

TEST(FirstPlace, IsTheLowest) {
  EXPECT_EQ(text::firstPlace(1), 0U);
  EXPECT_EQ(text::firstPlace(0x8000000000000000U), 63U);
  EXPECT_EQ(text::firstPlace(0xA0), 5U);
}

TYPED_TEST(BytesOf, UpperCaseIsOfAsciiLettersAlone) {
  for (int start = 0; start < 256; start += 16) {
    std::string bytes;
    std::string capitals;
    for (int byte = start; byte < start + 16; ++byte) {
      bytes += static_cast<char>(byte);
      capitals += static_cast<char>(byte >= 'a' && byte <= 'z' ? byte - 32 : byte);
    }
    std::string stored(text::bytesAtOnce, '?');
    TypeParam(bytes.data()).inUpperCase().store(stored.data());
    EXPECT_EQ(stored, capitals);
  }
}

}  // namespace
