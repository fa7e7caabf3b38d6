// Reads the schema files that Debian's directory servers ship, and the bundled ones.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "platform/schema/readSchemaFile.h"
#include "testsupport/SchemaProbe.h"

namespace schema {

namespace {

using ::testing::IsEmpty;

const std::string sourceDirectory = VARNEL_SOURCE_DIRECTORY;
const std::string coreSchema = sourceDirectory + "/schema/core.schema";

/// What list_attribute_types.py finds in a file.
struct Listing {
  std::vector<std::string> names;
  std::vector<std::size_t> misspeltLines;
};

/// By file name.
std::map<std::string, Listing> listingsOf(const std::vector<std::string>& files) {
  std::string command = "python3 '" + sourceDirectory + "/platform/schema/list_attribute_types.py'";
  for (const std::string& file : files) {
    command += " '" + file + "'";
  }
  std::FILE* stream = popen(command.c_str(), "r");
  std::map<std::string, Listing> listings;
  std::string file;
  char line[4096];
  while (stream != nullptr && std::fgets(line, sizeof line, stream) != nullptr) {
    std::string value = std::string(line).substr(2);
    value.pop_back();
    if (line[0] == 'F') {
      file = value;
      listings[file] = {};
    } else if (line[0] == 'A') {
      listings[file].names.push_back(value);
    } else if (line[0] == 'M') {
      listings[file].misspeltLines.push_back(std::stoul(value));
    }
  }
  EXPECT_TRUE(stream != nullptr && pclose(stream) == 0) << command;
  EXPECT_EQ(listings.size(), files.size());
  return listings;
}

std::string contentOf(const std::string& file) {
  std::string text;
  EXPECT_EQ(readSchemaFile(file, text), "") << file;
  return text;
}

/// The schema files below a directory in byte order; none where it does not exist.
std::vector<std::string> schemaFiles(const std::string& directory) {
  std::vector<std::string> files;
  std::error_code missing;
  for (const auto& entry : std::filesystem::directory_iterator(directory, missing)) {
    const std::string extension = entry.path().extension().string();
    if (extension == ".schema" || extension == ".ldif") {
      files.push_back(entry.path().string());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

/// A server's schema files: a directory, and what to do where it is missing.
struct Server {
  const char* name;
  std::string directory;
  const char* remedy;
  std::size_t fewestTypes;  ///< a listing of fewer is a broken listing
};

const Server servers[] = {
    {"Slapd", "/etc/ldap/schema", "install Debian's slapd", 1000},
    {"Standard389", sourceDirectory + "/build/389-schema/schema",
     "run scripts/fetch-389-schema.sh build/389-schema", 1000},
    {"Further389", sourceDirectory + "/build/389-schema/data",
     "run scripts/fetch-389-schema.sh build/389-schema", 200},
};

class ServerSchema : public ::testing::TestWithParam<Server> {
 protected:
  void SetUp() override {
    files_ = schemaFiles(GetParam().directory);
    if (files_.empty()) {
      GTEST_SKIP() << "no schema files in " << GetParam().directory << ": " << GetParam().remedy;
    }
  }

  std::vector<std::string> files_;
};

/// File by file: as many attribute types as the independent listing has, and no report but on the
/// keywords that slapd itself would not know.
TEST_P(ServerSchema, LosesNoDefinition) {
  std::size_t total = 0;
  for (const auto& [file, listing] : listingsOf(files_)) {
    SchemaProbe probe;
    probe.parse(contentOf(file), file);
    std::vector<std::size_t> reportedLines;
    for (const Problem& problem : probe.problems()) {
      EXPECT_EQ(problem.kind, Problem::Kind::badDefinition) << ::testing::PrintToString(problem);
      reportedLines.push_back(problem.line);
    }
    EXPECT_EQ(reportedLines, listing.misspeltLines) << file;
    probe.complete();
    EXPECT_EQ(probe.readCount(), listing.names.size()) << file;
    total += listing.names.size();
  }
  EXPECT_GE(total, GetParam().fewestTypes);
}

/// Reads files after the core schema: every attribute type in them is found by its first name.
void expectFoundByName(const std::vector<std::string>& files) {
  SchemaProbe probe;
  probe.parse(contentOf(coreSchema), coreSchema);
  for (const std::string& file : files) {
    probe.parse(contentOf(file), file);
  }
  const auto schema = probe.complete();
  for (const auto& [file, listing] : listingsOf(files)) {
    for (const std::string& name : listing.names) {
      EXPECT_NE(schema->findAttributeType(name), nullptr) << file << ": " << name;
    }
  }
  EXPECT_THAT(probe.problems(Problem::Kind::missingSupertype), IsEmpty());
  EXPECT_THAT(probe.problems(Problem::Kind::supertypeCycle), IsEmpty());
}

/// The further files of 389 stand in for one another, so each of them is taken alone.
TEST_P(ServerSchema, IsFoundByNameAfterTheCoreSchema) {
  if (std::string(GetParam().name) != "Further389") {
    expectFoundByName(files_);
    return;
  }
  for (const std::string& file : files_) {
    expectFoundByName({file});
  }
}

INSTANTIATE_TEST_SUITE_P(Debian, ServerSchema, ::testing::ValuesIn(servers),
                         [](const auto& row) { return std::string(row.param.name); });

/// 389's standard schema stands for itself.
TEST(Standard389Schema, NeedsNoOtherFileAndContradictsNoneOfItsOwn) {
  const std::vector<std::string> files = schemaFiles(servers[1].directory);
  if (files.empty()) {
    GTEST_SKIP() << servers[1].remedy;
  }
  SchemaProbe probe;
  std::size_t listed = 0;
  for (const auto& [file, listing] : listingsOf(files)) {
    probe.parse(contentOf(file), file);
    listed += listing.names.size();
  }
  probe.complete();
  EXPECT_EQ(probe.attributeTypeCount(), listed);
  EXPECT_THAT(probe.problems(), IsEmpty());
}

/// The core schema and slapd's files come from the same standards.
TEST(CoreSchema, AgreesWithSlapd) {
  const std::vector<std::string> files = schemaFiles(servers[0].directory);
  if (files.empty()) {
    GTEST_SKIP() << servers[0].remedy;
  }
  SchemaProbe probe;
  probe.parse(contentOf(coreSchema), coreSchema);
  for (const std::string& file : files) {
    probe.parse(contentOf(file), file);
  }
  EXPECT_THAT(probe.problems(Problem::Kind::redefinition), IsEmpty());
}

/// The attribute types that each document defines, section by section.
const std::map<std::string, std::vector<std::string>> attributeTypesOfDocuments = {
    {"RFC 4512", {"objectClass",
                  "aliasedObjectName",
                  "creatorsName",
                  "createTimestamp",
                  "modifiersName",
                  "modifyTimestamp",
                  "structuralObjectClass",
                  "governingStructureRule",
                  "subschemaSubentry",
                  "objectClasses",
                  "attributeTypes",
                  "matchingRules",
                  "matchingRuleUse",
                  "ldapSyntaxes",
                  "dITContentRules",
                  "dITStructureRules",
                  "nameForms",
                  "altServer",
                  "namingContexts",
                  "supportedControl",
                  "supportedExtension",
                  "supportedFeatures",
                  "supportedLDAPVersion",
                  "supportedSASLMechanisms"}},
    {"RFC 4519",
     {"businessCategory",
      "c",
      "cn",
      "dc",
      "description",
      "destinationIndicator",
      "distinguishedName",
      "dnQualifier",
      "enhancedSearchGuide",
      "facsimileTelephoneNumber",
      "generationQualifier",
      "givenName",
      "houseIdentifier",
      "initials",
      "internationalISDNNumber",
      "l",
      "member",
      "name",
      "o",
      "ou",
      "owner",
      "physicalDeliveryOfficeName",
      "postalAddress",
      "postalCode",
      "postOfficeBox",
      "preferredDeliveryMethod",
      "registeredAddress",
      "roleOccupant",
      "searchGuide",
      "seeAlso",
      "serialNumber",
      "sn",
      "st",
      "street",
      "telephoneNumber",
      "teletexTerminalIdentifier",
      "telexNumber",
      "title",
      "uid",
      "uniqueMember",
      "userPassword",
      "x121Address",
      "x500UniqueIdentifier"}},
    {"RFC 4524",
     {"associatedDomain",
      "associatedName",
      "buildingName",
      "co",
      "documentAuthor",
      "documentIdentifier",
      "documentLocation",
      "documentPublisher",
      "documentTitle",
      "documentVersion",
      "drink",
      "homePhone",
      "homePostalAddress",
      "host",
      "info",
      "mail",
      "manager",
      "mobile",
      "organizationalStatus",
      "pager",
      "personalTitle",
      "roomNumber",
      "secretary",
      "uniqueIdentifier",
      "userClass"}},
    {"RFC 2798",
     {"carLicense", "departmentNumber", "displayName", "employeeNumber", "employeeType",
      "jpegPhoto", "preferredLanguage", "userSMIMECertificate", "userPKCS12", "audio", "labeledURI",
      "photo", "userCertificate"}},
};

TEST(CoreSchema, HoldsTheAttributeTypesOfItsDocumentsAndNoOthers) {
  SchemaProbe probe;
  probe.parse(contentOf(coreSchema), coreSchema);
  const auto schema = probe.complete();
  EXPECT_THAT(probe.problems(), IsEmpty());
  std::size_t expected = 0;
  for (const auto& [document, names] : attributeTypesOfDocuments) {
    for (const std::string& name : names) {
      ++expected;
      const AttributeType* type = schema->findAttributeType(name);
      ASSERT_NE(type, nullptr) << document << ": " << name;
      EXPECT_EQ(type->names.front(), name) << document;
    }
  }
  EXPECT_EQ(probe.attributeTypeCount(), expected);
  // Object classes, of one name each. RFC 4512: 4, RFC 4519: 14, RFC 4524: 9, RFC 2798: 1.
  EXPECT_EQ(probe.otherNameCount(), 28U);
}

TEST(CoreSchema, KnowsTheRulesThatDnsNeed) {
  SchemaProbe probe;
  probe.parse(contentOf(coreSchema), coreSchema);
  const auto schema = probe.complete();
  const struct {
    const char* type;
    const char* canonical;
    EqualityRule rule;
  } rows[] = {
      {"commonName", "CN", EqualityRule::caseIgnore},
      {"2.5.4.11", "OU", EqualityRule::caseIgnore},
      {"domainComponent", "DC", EqualityRule::caseIgnoreIA5},
      {"userid", "UID", EqualityRule::caseIgnore},
      {"member", "MEMBER", EqualityRule::distinguishedName},
      {"labeleduri", "LABELEDURI", EqualityRule::caseExact},
      {"registeredAddress", "REGISTEREDADDRESS", EqualityRule::caseIgnoreList},
      {"x121address", "X121ADDRESS", EqualityRule::numericString},
      {"mobile", "MOBILE", EqualityRule::telephoneNumber},
      {"userpassword", "USERPASSWORD", EqualityRule::octetString},
      {"x500UniqueIdentifier", "X500UNIQUEIDENTIFIER", EqualityRule::bitString},
      {"createTimestamp", "CREATETIMESTAMP", EqualityRule::generalizedTime},
      {"governingStructureRule", "GOVERNINGSTRUCTURERULE", EqualityRule::integer},
      {"objectClass", "OBJECTCLASS", EqualityRule::objectIdentifier},
      {"jpegPhoto", "JPEGPHOTO", EqualityRule::none},
  };
  for (const auto& row : rows) {
    const AttributeType* type = schema->findAttributeType(row.type);
    ASSERT_NE(type, nullptr) << row.type;
    EXPECT_EQ(type->canonicalType, row.canonical);
    EXPECT_EQ(type->equality, row.rule) << row.type;
  }
}

}  // namespace

}  // namespace schema
