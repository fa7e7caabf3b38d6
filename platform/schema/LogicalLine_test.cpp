#include "platform/schema/LogicalLine.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace schema {

namespace {

using Lines = std::vector<std::pair<std::size_t, std::string>>;

Lines linesOf(std::string_view text) {
  LogicalLineReader reader(text);
  LogicalLine line;
  Lines lines;
  while (reader.next(line)) {
    lines.emplace_back(line.firstLine, line.text);
  }
  return lines;
}

struct Row {
  const char* name;
  std::string text;
  FileForm form;
  Lines lines;
};

const Row rows[] = {
    {"Nothing", "", FileForm::directives, {}},
    {"LdifLines",
     "dn: cn=schema\ncn: schema\n",
     FileForm::ldif,
     {{1, "dn: cn=schema"}, {2, "cn: schema"}}},
    {"CommentsWithAColonHaveNoVote",
     "#Note: a\n#1.2: b\nattributetype ( 1.2 )\n",
     FileForm::directives,
     {{3, "attributetype ( 1.2 )"}}},
    {"NoLineEndAtTheEnd", "dn: a\ncn: b", FileForm::ldif, {{1, "dn: a"}, {2, "cn: b"}}},
    {"CarriageReturns", "dn: a\r\n b\r\ncn: c\r\n", FileForm::ldif, {{1, "dn: ab"}, {3, "cn: c"}}},
    {"FoldsTakeOneSpaceAway",
     "dn: a\n b\n  c\nx: y",
     FileForm::ldif,
     {{1, "dn: ab c"}, {4, "x: y"}}},
    {"TabIsNoFoldInLdif", "dn: a\n\tb\n", FileForm::ldif, {{1, "dn: a"}, {2, "\tb"}}},
    {"CommentsWithFolds",
     "# one\n two\ndn: a\n#three\n# four\n five\nx: y\n",
     FileForm::ldif,
     {{3, "dn: a"}, {7, "x: y"}}},
    {"BlankLines", "\n  \n\t\r\ndn: a\n\n\nx: y\n", FileForm::ldif, {{4, "dn: a"}, {7, "x: y"}}},
    {"Directives",
     "attributetype ( 1.2\n\tNAME 'a'\n  )\nobjectclass x\n",
     FileForm::directives,
     {{1, "attributetype ( 1.2\n\tNAME 'a'\n  )"}, {4, "objectclass x"}}},
    {"DirectivesWithComments",
     "# a: b\n\tc\nobjectidentifier A B:1\n# x\nattributetype(\n )\n",
     FileForm::directives,
     {{3, "objectidentifier A B:1"}, {5, "attributetype(\n )"}}},
    {"CarriageReturnsInDirectives",
     "attributetype (\r\n\t1.2\r\n",
     FileForm::directives,
     {{1, "attributetype (\r\n\t1.2"}}},
    {"ByteOrderMark",
     "\xEF\xBB\xBF"
     "dn: a\n",
     FileForm::ldif,
     {{1, "dn: a"}}},
    {"MostLinesAreDirectives",
     "x y: z\nfoo: x\n(a:b\nobjectclass (\nldapsyntax (\n",
     FileForm::directives,
     {{1, "x y: z"}, {2, "foo: x"}, {3, "(a:b"}, {4, "objectclass ("}, {5, "ldapsyntax ("}}},
    {"MostLinesAreLdif",
     "objectclass x\ndn: a\nolcNameForms;x-y: a\n",
     FileForm::ldif,
     {{1, "objectclass x"}, {2, "dn: a"}, {3, "olcNameForms;x-y: a"}}},
    {"AsManyOfEach",
     "objectclass x\n2.5.4.0: a\n",
     FileForm::ldif,
     {{1, "objectclass x"}, {2, "2.5.4.0: a"}}},
    {"NoneOfEither", "foo x\n\tbar\n", FileForm::directives, {{1, "foo x\n\tbar"}}},
    {"CommentsHaveNoForm", "#a b\n\nolcX: {0}( )\n", FileForm::ldif, {{3, "olcX: {0}( )"}}},
};

class LogicalLineRow : public ::testing::TestWithParam<Row> {};

TEST_P(LogicalLineRow, GivesTheseLines) {
  EXPECT_EQ(LogicalLineReader(GetParam().text).form(), GetParam().form);
  EXPECT_EQ(linesOf(GetParam().text), GetParam().lines);
}

INSTANTIATE_TEST_SUITE_P(Texts, LogicalLineRow, ::testing::ValuesIn(rows),
                         [](const auto& row) { return std::string(row.param.name); });

/// Each X stands on the line that its number tells.
TEST(LogicalLine, KnowsThePhysicalLineOfEachByte) {
  for (const char* text :
       {"\na: X2\n X3 X3\n X4\nb: X5\n", "\nword X2\n\tX3 X3\n X4\nword X5\n",
        "\r\na: X2\r\n X3 X3\r\n X4\r\nb: X5\r\n", "\r\nword X2\r\n\tX3\r\n X4\r\nword X5"}) {
    LogicalLineReader reader(text);
    LogicalLine line;
    int found = 0;
    while (reader.next(line)) {
      for (std::size_t at = line.text.find('X'); at != std::string_view::npos;
           at = line.text.find('X', at + 1)) {
        EXPECT_EQ(line.lineOf(at), static_cast<std::size_t>(line.text[at + 1] - '0')) << text;
        ++found;
      }
    }
    EXPECT_GE(found, 4) << text;
  }
}

TEST(LogicalLine, MayBeOfAnyLength) {
  const std::string longText(3000000, 'v');
  const Lines lines = linesOf("dn: " + longText + "\n " + longText + "\nx: y\n");
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0].second, "dn: " + longText + longText);
  EXPECT_EQ(lines[1].first, 3U);
}

}  // namespace

}  // namespace schema
