#include "platform/instance/CfgInst.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/instance/readInstanceConfiguration.h"
#include "testsupport/CapturedOutput.h"
#include "testsupport/InstanceDirectory.h"

namespace {

using QuorInstanceUtils::CfgInst;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> filesOf(const CfgInst& configuration, int kind) {
  char** files = nullptr;
  int count = 0;
  EXPECT_EQ(configuration.querySchemaFiles(kind, &files, &count), 0);
  std::vector<std::string> list(files, files + count);
  CfgInst::freeSchemaFiles(files);
  return list;
}

class CfgInstTest : public ::testing::Test {
 protected:
  std::vector<std::string> files(int kind) const {
    return filesOf(CfgInst(instance_.path().c_str(), nullptr, true), kind);
  }

  InstanceDirectory instance_;
};

TEST_F(CfgInstTest, KeepsTheOrderOfEachKind) {
  for (const char* name : {"a", "b", "c", "d", "e"}) {
    instance_.write(name);
  }
  instance_.configure(
      "systemschema: d\nuserschema: c\nSYSTEMSCHEMA:a\nuserschema: e\n"
      "systemschema: b\nsystemschema: d\n");
  EXPECT_THAT(files(0), ElementsAre(instance_.path("d"), instance_.path("a"), instance_.path("b"),
                                    instance_.path("d")));
  EXPECT_THAT(files(1), ElementsAre(instance_.path("c"), instance_.path("e")));
}

TEST_F(CfgInstTest, TakesADirectorysSchemaFilesInByteOrder) {
  for (const char* name : {"s/b.schema", "s/a.ldif", "s/B.schema", "s/10.ldif", "s/9.ldif",
                           "s/README", "s/x.schema~", "s/.hidden.ldif", "s/c.SCHEMA",
                           "s/sub.ldif/inner.ldif", "s/\xC3\xA4.ldif", "s/ldif", "s/.schema"}) {
    instance_.write(name);
  }
  instance_.configure("userschema: s/\n");
  EXPECT_THAT(files(1),
              ElementsAre(instance_.path("s/10.ldif"), instance_.path("s/9.ldif"),
                          instance_.path("s/B.schema"), instance_.path("s/a.ldif"),
                          instance_.path("s/b.schema"), instance_.path("s/\xC3\xA4.ldif")));
  EXPECT_THAT(files(0), IsEmpty());
}

TEST_F(CfgInstTest, AbsolutePathsStayAndBlanksMayBeInAName) {
  const std::string absolute = instance_.write("dir/with blank: and colon");
  instance_.configure("systemschema: " + absolute + " \nsystemschema:\tdir/with blank: and colon");
  EXPECT_THAT(files(0), ElementsAre(absolute, absolute));
}

TEST_F(CfgInstTest, FindsAnInstanceByName) {
  const InstanceDirectory registered(QuorInstanceUtils::instanceRegistry() + "/named");
  registered.write("a.schema");
  registered.configure("systemschema: a.schema\n");
  EXPECT_THAT(filesOf(CfgInst("named", nullptr, true), 0),
              ElementsAre(registered.path("a.schema")));
}

TEST_F(CfgInstTest, AnotherConfigurationFileMayBeNamed) {
  instance_.write("a");
  instance_.write("b");
  instance_.configure("systemschema: a\n");
  const std::string other = instance_.write("other.conf", "systemschema: b\n");
  EXPECT_THAT(filesOf(CfgInst(instance_.path().c_str(), other.c_str(), true), 0),
              ElementsAre(instance_.path("b")));
}

TEST_F(CfgInstTest, WhatCannotBeReadLeavesNoFileAndPrintsNothing) {
  instance_.write("a");
  instance_.configure("systemschema: nix\nsystemschema: a\nx: y\n");
  const CapturedOutput output = captured([&] {
    EXPECT_THAT(files(0), ElementsAre(instance_.path("a")));
    EXPECT_THAT(filesOf(CfgInst("nowhere", nullptr, true), 0), IsEmpty());
    EXPECT_THAT(filesOf(CfgInst("bad name", nullptr, true), 1), IsEmpty());
    EXPECT_THAT(filesOf(CfgInst(nullptr, nullptr, true), 0), IsEmpty());
  });
  EXPECT_EQ(output.err, "");
}

TEST_F(CfgInstTest, TellsWhetherAllCouldBeRead) {
  const auto isComplete = [&](const std::string& configuration) {
    instance_.configure(configuration);
    return CfgInst(instance_.path().c_str(), nullptr, true).isComplete();
  };
  instance_.write("a");
  instance_.write("none/README");
  EXPECT_TRUE(isComplete(""));
  EXPECT_TRUE(isComplete("systemschema: a\nuserschema: none\n"));
  EXPECT_FALSE(isComplete("systemschema: a\nuserschema: nix\n"));
  EXPECT_FALSE(isComplete("x: y\n"));
  EXPECT_FALSE(CfgInst(instance_.path().c_str(), "/nowhere", true).isComplete());
  EXPECT_FALSE(CfgInst("nowhere", nullptr, true).isComplete());
  EXPECT_FALSE(CfgInst(nullptr, nullptr, true).isComplete());
}

TEST_F(CfgInstTest, EmptyListIsANullPointer) {
  instance_.configure("");
  const CfgInst configuration(instance_.path().c_str(), nullptr, true);
  char* something = nullptr;
  char** list = &something;
  int count = 7;
  EXPECT_EQ(configuration.querySchemaFiles(0, &list, &count), 0);
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(count, 0);
  CfgInst::freeSchemaFiles(list);
}

TEST_F(CfgInstTest, OtherKindsAreRefused) {
  instance_.configure("");
  const CfgInst configuration(instance_.path().c_str(), nullptr, true);
  for (const int kind : {-1, 2, 1000000}) {
    char** list = nullptr;
    int count = 7;
    EXPECT_NE(configuration.querySchemaFiles(kind, &list, &count), 0) << kind;
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(count, 0);
  }
}

TEST(CfgInstExample, ListsTheCoreSchemaAndTheStaffSchema) {
  const std::string example = VARNEL_SOURCE_DIRECTORY "/examples/instance";
  const CfgInst configuration(example.c_str(), nullptr, true);
  EXPECT_THAT(filesOf(configuration, CfgInst::systemSchema),
              ElementsAre(example + "/../../schema/core.schema"));
  EXPECT_THAT(filesOf(configuration, CfgInst::userSchema), ElementsAre(example + "/staff.schema"));
}

}  // namespace
