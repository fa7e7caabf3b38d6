#include "admin/KeyedHash.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

/// The first bytes 0, 1, 2, ...
std::string counting(std::size_t size) {
  std::string bytes;
  while (bytes.size() < size) {
    bytes.push_back(static_cast<char>(bytes.size()));
  }
  return bytes;
}

const KeyedHash::Key key = {0x0706050403020100U, 0x0f0e0d0c0b0a0908U};

/// The sixteen bytes in hexadecimal, as they follow each other.
std::string hexadecimal(const Fingerprint& print) {
  std::string text;
  for (std::uint64_t word : {print.low, print.high}) {
    for (int i = 0; i < 8; ++i, word >>= 8U) {
      char digits[3] = {};
      std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned int>(word & 0xffU));
      text += digits;
    }
  }
  return text;
}

struct Row {
  std::size_t size;
  const char* result;
};

class KeyedHashRows : public testing::TestWithParam<Row> {};

// By "openssl mac -macopt hexkey:000102030405060708090a0b0c0d0e0f -macopt size:16 SipHash".
INSTANTIATE_TEST_SUITE_P(Sizes, KeyedHashRows,
                         testing::Values(Row{0, "A3817F04BA25A8E66DF67214C7550293"},
                                         Row{1, "DA87C1D86B99AF44347659119B22FC45"},
                                         Row{7, "A1F1EBBED8DBC153C0B84AA61FF08239"},
                                         Row{8, "3B62A9BA6258F5610F83E264F31497B4"},
                                         Row{15, "5493E99933B0A8117E08EC0F97CFC3D9"},
                                         Row{63, "5150D1772F50834A503E069A973FBD7C"}),
                         [](const auto& row) { return std::to_string(row.param.size); });

TEST_P(KeyedHashRows, IsSipHash) {
  const std::string bytes = counting(GetParam().size);
  EXPECT_EQ(hexadecimal(KeyedHash::of(key, bytes.data(), bytes.size())), GetParam().result);
}

TEST_P(KeyedHashRows, IsTheSameOfAnyTwoPieces) {
  const std::string bytes = counting(GetParam().size);
  for (std::size_t cut = 0; cut <= bytes.size(); ++cut) {
    KeyedHash hash(key);
    hash.add(bytes.data(), cut);
    static_cast<void>(hash.print());
    hash.add(bytes.data() + cut, bytes.size() - cut);
    EXPECT_EQ(hexadecimal(hash.print()), GetParam().result) << cut;
  }
}

TEST(KeyedHash, KeysDiffer) {
  EXPECT_NE(KeyedHash::newKey(), KeyedHash::newKey());
}

TEST(Fingerprint, SumsCarryAndDoNotDependOnTheOrder) {
  Fingerprint a;
  a.low = ~std::uint64_t{0};
  Fingerprint b;
  b.low = 2;
  b.high = 5;
  Fingerprint ab = a;
  ab += b;
  EXPECT_EQ(ab.low, 1U);
  EXPECT_EQ(ab.high, 6U);
  Fingerprint ba = b;
  ba += a;
  EXPECT_TRUE(ab == ba);
}

}  // namespace
