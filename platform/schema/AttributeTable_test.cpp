#include "platform/schema/AttributeTable.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace schema {

namespace {

AttributeType typeOf(std::string oid, std::vector<std::string> names) {
  AttributeType type;
  type.oid = std::move(oid);
  type.names = std::move(names);
  return type;
}

TEST(AttributeTable, FindsByOidAndEachNameInAnyCase) {
  const AttributeTable table({typeOf("2.5.4.3", {"cn", "commonName"}), typeOf("2.5.4.4", {"sn"})});
  EXPECT_EQ(table.attributeTypeCount(), 2U);
  for (const char* type : {"2.5.4.3", "cn", "CN", "Cn", "commonName", "COMMONNAME", "commonname"}) {
    const AttributeType* found = table.findAttributeType(type);
    ASSERT_NE(found, nullptr) << type;
    EXPECT_EQ(found->oid, "2.5.4.3") << type;
  }
  EXPECT_EQ(table.findAttributeType("SN")->oid, "2.5.4.4");
}

TEST(AttributeTable, FindsNothingElse) {
  const AttributeTable table({typeOf("2.5.4.3", {"cn", "commonName"})});
  for (const char* type : {"", "c", "cnn", "c n", "commonNam", "commonNameX", "2.5.4", "2.5.4.30",
                           "oid.2.5.4.3", "commonName "}) {
    EXPECT_EQ(table.findAttributeType(type), nullptr) << type;
  }
  EXPECT_EQ(AttributeTable({}).findAttributeType("cn"), nullptr);
  EXPECT_EQ(AttributeTable({}).findAttributeType(""), nullptr);
}

/// Folding eight bytes at a time must fold letters and nothing else, at every place in the word.
TEST(AttributeTable, FoldsAsciiLettersOnly) {
  for (std::size_t place = 0; place < 17; ++place) {
    for (int stored = 0; stored < 256; ++stored) {
      std::string name(17, 'k');
      name[place] = static_cast<char>(stored);
      const AttributeTable table({typeOf("1.2", {name})});
      for (int asked = 0; asked < 256; ++asked) {
        std::string type(17, 'K');
        type[place] = static_cast<char>(asked);
        const auto lower = [](int c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; };
        ASSERT_EQ(table.findAttributeType(type) != nullptr, lower(stored) == lower(asked))
            << "place " << place << ", bytes " << stored << " and " << asked;
      }
    }
  }
}

TEST(AttributeTable, TakesNamesOfEveryLength) {
  std::vector<AttributeType> types;
  for (std::size_t length = 1; length < 200; ++length) {
    types.push_back(typeOf("1." + std::to_string(length), {std::string(length, 'n')}));
  }
  const AttributeTable table(types);
  for (std::size_t length = 1; length < 200; ++length) {
    EXPECT_EQ(table.findAttributeType(std::string(length, 'N'))->oid,
              "1." + std::to_string(length));
  }
  EXPECT_EQ(table.findAttributeType(std::string(200, 'N')), nullptr);
}

TEST(AttributeTable, FindsEachOfAHundredThousand) {
  std::vector<AttributeType> types;
  types.reserve(100000);
  for (int i = 0; i < 100000; ++i) {
    types.push_back(typeOf("1.3." + std::to_string(i), {"name" + std::to_string(i)}));
  }
  const AttributeTable table(types);
  for (int i = 0; i < 100000; ++i) {
    const AttributeType* found = table.findAttributeType("NAME" + std::to_string(i));
    ASSERT_NE(found, nullptr) << i;
    ASSERT_EQ(found, table.findAttributeType("1.3." + std::to_string(i)));
  }
  EXPECT_EQ(table.findAttributeType("name100000"), nullptr);
}

/// Each of them in a place of its own would take a walk past all before it.
TEST(AttributeTable, TakesOneNameAMillionTimes) {
  const AttributeTable table({typeOf("1.1", std::vector<std::string>(1000000, "a"))});
  EXPECT_EQ(table.findAttributeType("A")->oid, "1.1");
}

TEST(AttributeTable, OfTwoWithOneNameTheEarlierHasIt) {
  const AttributeTable table({typeOf("1.1", {"a"}), typeOf("1.2", {"A"})});
  EXPECT_EQ(table.findAttributeType("a")->oid, "1.1");
  EXPECT_EQ(table.findAttributeType("1.2")->oid, "1.2");
}

}  // namespace

}  // namespace schema
