#include "driver/foreignFormat.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <ostream>
#include <string>

#include "testsupport/TemporaryDirectory.h"

namespace {

struct Row {
  const char* name;
  std::string content;
  const char* format;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

class ForeignFormat : public ::testing::TestWithParam<Row> {};

TEST_P(ForeignFormat, IsToldByTheFirstBytes) {
  const TemporaryDirectory directory;
  EXPECT_EQ(foreignFormat(directory.write("f", GetParam().content)), GetParam().format);
}

/// Every mark cut short is none.
TEST_P(ForeignFormat, NeedsTheWholeMark) {
  if (*GetParam().format != '\0') {
    const TemporaryDirectory directory;
    EXPECT_EQ(foreignFormat(directory.write("f", GetParam().content.substr(0, 1))), "");
  }
}

// The first bytes are those of files that the programs of these names wrote.
INSTANTIATE_TEST_SUITE_P(
    Rows, ForeignFormat,
    ::testing::Values(Row{"Mark", "\xEF\xBB\xBF", "text behind a UTF-8 byte order mark"},
                      Row{"MarkAndText",
                          "\xEF\xBB\xBF"
                          "dn: o=x\n",
                          "text behind a UTF-8 byte order mark"},
                      Row{"Gzip", std::string("\x1F\x8B\x08\x00\x00", 5), "compressed data (gzip)"},
                      Row{"Bzip2", "BZh91AY&SY\xA3", "compressed data (bzip2)"},
                      Row{"Bzip2OfNothing", "BZh1\x17rE8P\x90", "compressed data (bzip2)"},
                      Row{"Xz",
                          std::string("\xFD"
                                      "7zXZ\x00\x00",
                                      7),
                          "compressed data (xz)"},
                      Row{"Zstd", "\x28\xB5\x2F\xFD\x04", "compressed data (zstd)"},
                      Row{"TypeThatLooksLikeBzip2", "BZh9: 1\n", ""},
                      Row{"HalfAMark", "\xEF\xBB", ""},
                      Row{"MarkBehindABlank", " \xEF\xBB\xBF", ""}, Row{"Ldif", "version: 1\n", ""},
                      Row{"Empty", "", ""}),
    [](const ::testing::TestParamInfo<Row>& row) { return std::string(row.param.name); });

TEST(ForeignFormatOfNoFile, IsNone) {
  const TemporaryDirectory directory;
  const std::string fifo = directory.path("fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  for (const std::string& name : {fifo, directory.name(), directory.path("missing")}) {
    EXPECT_EQ(foreignFormat(name), "") << name;
  }
}

}  // namespace
