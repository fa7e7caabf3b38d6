#include "platform/schema/ldcf_api_schema.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>

#include "platform/schema/Schema.h"
#include "testsupport/CapturedOutput.h"
#include "testsupport/TemporaryDirectory.h"

namespace schema {

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

class LdcfApiSchema : public ::testing::Test {
 protected:
  LdcfApiSchema() { ldcf_api_schema_report_to(keep, &reported_); }
  ~LdcfApiSchema() override { ldcf_api_schema_report_to(nullptr, nullptr); }

  std::string write(const std::string& name, const std::string& text) const {
    return directory_.write(name, text);
  }

  /// Parses and returns what it reported, each problem as a line.
  std::string messagesOf(const std::string& file, int expectedProblems) {
    return reportedBy([&] { EXPECT_EQ(ldcf_api_schema_parse(file.c_str()), expectedProblems); });
  }

  /// Runs one step and returns what it reported. Nothing is ever printed.
  template <typename Step>
  std::string reportedBy(Step step) {
    reported_.clear();
    const CapturedOutput printed = captured(step);
    EXPECT_EQ(printed.out + printed.err, "");
    return reported_;
  }

  static void keep(const char* line, void* lines) {
    *static_cast<std::string*>(lines) += std::string(line) + '\n';
  }

  std::string reported_;
  const TemporaryDirectory directory_;
};

TEST_F(LdcfApiSchema, PublishesOnCompletionOnly) {
  const std::string one = write("one.schema", "attributetype ( 1.1 NAME 'a' SYNTAX 1.9 )\n");
  const std::string two = write("two.ldif", "attributeTypes: ( 1.2 NAME 'b' SUP a )\n");
  EXPECT_EQ(ldcf_api_schema_init(), 0);
  EXPECT_EQ(ldcf_api_schema_parse(one.c_str()), 0);
  EXPECT_EQ(ldcf_api_schema_parse(two.c_str()), 0);
  EXPECT_EQ(ldcf_api_schema_complete(), 0);
  const Schema* first = loadedSchema();
  ASSERT_NE(first, nullptr);
  EXPECT_NE(first->findAttributeType("B"), nullptr);

  ldcf_api_schema_init();
  ldcf_api_schema_parse(one.c_str());
  EXPECT_EQ(loadedSchema(), first);
  ldcf_api_schema_complete();
  EXPECT_NE(loadedSchema(), first);
  EXPECT_EQ(loadedSchema()->findAttributeType("b"), nullptr);
  // The replaced one stays alive.
  EXPECT_NE(first->findAttributeType("b"), nullptr);
}

TEST_F(LdcfApiSchema, InitForgetsWhatWasParsed) {
  ldcf_api_schema_init();
  ldcf_api_schema_parse(write("a", "attributetype ( 1.1 NAME 'a' SYNTAX 1.9 )\n").c_str());
  ldcf_api_schema_init();
  ldcf_api_schema_complete();
  EXPECT_EQ(loadedSchema()->findAttributeType("a"), nullptr);
}

TEST_F(LdcfApiSchema, ReportsFileLineAndReason) {
  ldcf_api_schema_init();
  const std::string file = write("bad.ldif",
                                 "dn: cn=schema\nattributeTypes: ( 1.1\n"
                                 "  NAME '1' )\nattributeTypes: ( 1.2 NAME 'b' SUP x )\njunk\n"
                                 "attributeTypes: ( 1.3 NAME 'c' SUP c )\nmore junk\n");
  const std::string messages = messagesOf(file, 3);
  EXPECT_THAT(messages, HasSubstr("VNL033021W: Schema file " + file +
                                  ", line 3: a definition cannot be read: \"1\" is no name"));
  EXPECT_THAT(messages, HasSubstr("VNL033022W: Schema file " + file + ", line 5: "));
  EXPECT_THAT(messages, HasSubstr("VNL033023W: Schema file " + file + ": 1 further"));
  const std::string atTheEnd = reportedBy([] { EXPECT_EQ(ldcf_api_schema_complete(), 2); });
  EXPECT_THAT(atTheEnd, HasSubstr("VNL033025W: Schema file " + file +
                                  ", line 4: attribute type \"b\" with SUP \"x\""));
  EXPECT_THAT(atTheEnd, HasSubstr("VNL033026W: Schema file " + file +
                                  ", line 6: attribute type \"c\" with SUP \"c\""));
}

TEST_F(LdcfApiSchema, ReportsRedefinition) {
  ldcf_api_schema_init();
  const std::string one = write("one", "attributetype ( 1.1 NAME 'a' SYNTAX 1.9 )\n");
  const std::string two = write("two", "attributetype ( 1.1 NAME 'b' SYNTAX 1.9 )\n");
  EXPECT_EQ(messagesOf(one, 0), "");
  EXPECT_THAT(messagesOf(two, 1),
              AllOf(HasSubstr("VNL033024W: Schema file " + two + ", line 1: "), HasSubstr(one)));
}

TEST_F(LdcfApiSchema, ReportsFilesThatCannotBeRead) {
  ldcf_api_schema_init();
  const std::string missing = directory_.path("missing.schema");
  EXPECT_THAT(messagesOf(missing, 1), HasSubstr("VNL033020W: Schema file " + missing +
                                                " cannot be read: No such file or directory"));
  EXPECT_THAT(messagesOf(directory_.name(), 1), HasSubstr("it is a directory"));
  const std::string pipe = directory_.path("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_THAT(messagesOf(pipe, 1), HasSubstr("it is not a regular file"));
  EXPECT_THAT(messagesOf("/dev/zero", 1), HasSubstr("it is not a regular file"));
  const std::string loop = directory_.path("loop");
  ASSERT_EQ(symlink("loop", loop.c_str()), 0);
  EXPECT_THAT(messagesOf(loop, 1), HasSubstr("VNL033020W"));
  EXPECT_THAT(messagesOf("", 1), HasSubstr("VNL033020W"));
}

/// The memory of this process is a regular file that opens, but nothing is at its first address.
TEST_F(LdcfApiSchema, ReportsAFileWhoseReadingFails) {
  ldcf_api_schema_init();
  EXPECT_THAT(
      messagesOf("/proc/self/mem", 1),
      HasSubstr("VNL033020W: Schema file /proc/self/mem cannot be read: Input/output error"));
}

TEST_F(LdcfApiSchema, NullPointerIsAFileThatCannotBeRead) {
  ldcf_api_schema_init();
  EXPECT_THAT(reportedBy([] { EXPECT_EQ(ldcf_api_schema_parse(nullptr), 1); }),
              HasSubstr("VNL033020W"));
}

TEST_F(LdcfApiSchema, WithoutAReporterProblemsAreCountedAndNotPrinted) {
  ldcf_api_schema_report_to(nullptr, nullptr);
  ldcf_api_schema_init();
  EXPECT_EQ(messagesOf(directory_.path("missing.schema"), 1), "");
  EXPECT_EQ(messagesOf(write("bad", "attributetype ( 1.1 NAME '1' )\n"), 1), "");
}

TEST_F(LdcfApiSchema, EmptyFileIsNoProblem) {
  ldcf_api_schema_init();
  EXPECT_EQ(messagesOf(write("empty", ""), 0), "");
}

TEST_F(LdcfApiSchema, FilesLargerThanABufferAreReadWhole) {
  std::string text;
  for (int i = 0; i < 10000; ++i) {
    text += "attributetype ( 1.1." + std::to_string(i) + " SYNTAX 1.9 )\n";
  }
  ldcf_api_schema_init();
  ldcf_api_schema_parse(write("large", text).c_str());
  ldcf_api_schema_complete();
  for (int i = 0; i < 10000; ++i) {
    EXPECT_NE(loadedSchema()->findAttributeType("1.1." + std::to_string(i)), nullptr) << i;
  }
}

TEST_F(LdcfApiSchema, ReadersMayLookUpWhileSchemasAreReplaced) {
  const std::string file = write("a", "attributetype ( 1.1 NAME 'a' SYNTAX 1.9 )\n");
  const auto load = [&] {
    ldcf_api_schema_init();
    ldcf_api_schema_parse(file.c_str());
    ldcf_api_schema_complete();
  };
  load();
  std::atomic<bool> stop{false};
  std::atomic<int> misses{0};
  std::thread reader([&] {
    while (!stop) {
      const AttributeType* found = loadedSchema()->findAttributeType("A");
      misses += found == nullptr || found->oid != "1.1" ? 1 : 0;
    }
  });
  for (int i = 0; i < 200; ++i) {
    load();
  }
  stop = true;
  reader.join();
  EXPECT_EQ(misses, 0);
}

}  // namespace

}  // namespace schema
