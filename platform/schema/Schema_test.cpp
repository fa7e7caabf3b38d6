#include "platform/schema/Schema.h"

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

TEST(Schema, FindsByOidAndEachNameInAnyCase) {
  const Schema schema({{typeOf("2.5.4.3", {"cn", "commonName"}), typeOf("2.5.4.4", {"sn"})}, {}});
  for (const char* type : {"2.5.4.3", "cn", "CN", "Cn", "commonName", "COMMONNAME", "commonname"}) {
    const AttributeType* found = schema.findAttributeType(type);
    ASSERT_NE(found, nullptr) << type;
    EXPECT_EQ(found->oid, "2.5.4.3") << type;
  }
  EXPECT_EQ(schema.findAttributeType("SN")->oid, "2.5.4.4");
}

TEST(Schema, FindsNothingElse) {
  const Schema schema({{typeOf("2.5.4.3", {"cn", "commonName"})}, {}});
  for (const char* type : {"", "c", "cnn", "c n", "commonNam", "commonNameX", "2.5.4", "2.5.4.30",
                           "oid.2.5.4.3", "commonName "}) {
    EXPECT_EQ(schema.findAttributeType(type), nullptr) << type;
  }
  EXPECT_EQ(Schema({}).findAttributeType("cn"), nullptr);
  EXPECT_EQ(Schema({}).findAttributeType(""), nullptr);
}

/// The case of letters does not count at any place of a name; every other byte does.
TEST(Schema, FoldsAsciiLettersOnly) {
  for (std::size_t place = 0; place < 17; ++place) {
    for (int stored = 0; stored < 256; ++stored) {
      std::string name(17, 'k');
      name[place] = static_cast<char>(stored);
      const Schema schema({{typeOf("1.2", {name})}, {}});
      for (int asked = 0; asked < 256; ++asked) {
        std::string type(17, 'K');
        type[place] = static_cast<char>(asked);
        const auto lower = [](int c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; };
        ASSERT_EQ(schema.findAttributeType(type) != nullptr, lower(stored) == lower(asked))
            << "place " << place << ", bytes " << stored << " and " << asked;
      }
    }
  }
}

TEST(Schema, TakesNamesOfEveryLength) {
  std::vector<AttributeType> types;
  for (std::size_t length = 1; length < 200; ++length) {
    types.push_back(typeOf("1." + std::to_string(length), {std::string(length, 'n')}));
  }
  const Schema schema({types, {}});
  for (std::size_t length = 1; length < 200; ++length) {
    EXPECT_EQ(schema.findAttributeType(std::string(length, 'N'))->oid,
              "1." + std::to_string(length));
  }
  EXPECT_EQ(schema.findAttributeType(std::string(200, 'N')), nullptr);
}

TEST(Schema, TellsTheCanonicalNameFromTheOthers) {
  AttributeType type = typeOf("1.2.3", {"country", "c", "countryName"});
  type.canonicalType = "COUNTRY";
  AttributeType organization = typeOf("1.2.4", {"organizationName", "o"});
  organization.canonicalType = "ORGANIZATIONNAME";
  AttributeType nameless = typeOf("1.2.5", {});
  nameless.canonicalType = "1.2.5";
  const Schema schema({{type, organization, nameless}, {}});
  for (const char* name : {"country", "COUNTRY", "organizationName", "organizationname", "1.2.5"}) {
    EXPECT_TRUE(schema.find(name).isCanonical) << name;
  }
  for (const char* name : {"c", "countryName", "1.2.3", "o", "1.2.4", "unknown", "x"}) {
    EXPECT_FALSE(schema.find(name).isCanonical) << name;
  }
}

/// A byte that is zero counts as any other: it makes another name.
TEST(Schema, ByteThatIsZeroIsPartOfAName) {
  const Schema schema({{typeOf("2.5.4.3", {"cn"})}, {}});
  for (const std::string& name : {std::string("\0cn", 3), std::string("cn\0", 3),
                                  std::string("\0\0\0\0\0cn", 7), std::string("\0", 1)}) {
    EXPECT_EQ(schema.findAttributeType(name), nullptr);
  }
}

TEST(Schema, FindsEachOfAHundredThousand) {
  std::vector<AttributeType> types;
  types.reserve(100000);
  for (int i = 0; i < 100000; ++i) {
    types.push_back(typeOf("1.3." + std::to_string(i), {"name" + std::to_string(i)}));
  }
  const Schema schema({types, {}});
  for (int i = 0; i < 100000; ++i) {
    const AttributeType* found = schema.findAttributeType("NAME" + std::to_string(i));
    ASSERT_NE(found, nullptr) << i;
    ASSERT_EQ(found, schema.findAttributeType("1.3." + std::to_string(i)));
  }
  EXPECT_EQ(schema.findAttributeType("name100000"), nullptr);
}

/// A name that was kept each time would be compared with all of those before it.
TEST(Schema, TakesOneNameAMillionTimes) {
  const Schema schema({{typeOf("1.1", std::vector<std::string>(1000000, "a"))}, {}});
  EXPECT_EQ(schema.findAttributeType("A")->oid, "1.1");
}

/// Long numbers of one arc differ in their last digits only.
TEST(Schema, FindsEachNumberOfOneArc) {
  std::vector<AttributeType> types;
  for (int i = 0; i < 2000; ++i) {
    types.push_back(typeOf("1.3.6.1.4.1.99999.1.2.3.4.5.6." + std::to_string(i), {}));
  }
  const Schema schema({types, {}});
  for (const AttributeType& type : types) {
    const AttributeType* found = schema.findAttributeType(type.oid);
    ASSERT_NE(found, nullptr) << type.oid;
    EXPECT_EQ(found->oid, type.oid);
  }
}

TEST(Schema, FindsNumbersByTheNamesOfAttributesAndOfOtherDefinitions) {
  const Schema schema(
      {{typeOf("2.5.4.3", {"cn", "commonName"})}, {{"person", "2.5.6.6"}, {"CN", "9.9"}}});
  EXPECT_EQ(schema.findObjectIdentifier("COMMONNAME"), "2.5.4.3");
  EXPECT_EQ(schema.findObjectIdentifier("cn"), "2.5.4.3");
  EXPECT_EQ(schema.findObjectIdentifier("Person"), "2.5.6.6");
  EXPECT_EQ(schema.findObjectIdentifier("persons"), "");
}

TEST(Schema, OfTwoWithOneNameTheEarlierHasIt) {
  const Schema schema({{typeOf("1.1", {"a"}), typeOf("1.2", {"A"})}, {}});
  EXPECT_EQ(schema.findAttributeType("a")->oid, "1.1");
  EXPECT_EQ(schema.findAttributeType("1.2")->oid, "1.2");
}

}  // namespace

}  // namespace schema
