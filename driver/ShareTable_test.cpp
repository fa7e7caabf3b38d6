#include "driver/ShareTable.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace {

constexpr std::size_t wide = 200;

TEST(ShareTable, AlignsItsColumnsAndDrawsShares) {
  ShareTable table;
  table.add("one.ldif", 3, 750);
  table.add("x", 12345, 250);
  EXPECT_EQ(table.text(wide),
            "file      entries   size   share\n"
            "one.ldif        3  750 B  75.0 %  ####################\n"
            "x           12345  250 B  25.0 %  #######\n");
}

TEST(ShareTable, OfNothingHasNoShares) {
  ShareTable table;
  table.add("x", 0, 0);
  table.add("y", 0, 0);
  EXPECT_EQ(table.text(wide),
            "file  entries  size  share\n"
            "x           0   0 B  0.0 %\n"
            "y           0   0 B  0.0 %\n");
}

TEST(ShareTable, AGroupIsAWholeOfItsOwnAndNeedsTwoFilesForShares) {
  ShareTable table;
  table.beginGroup("First group, wider than the names");
  table.add("a", 3, 3);
  table.add("b", 1, 1);
  table.beginGroup("Second\ngroup");
  table.add("c", 100, 2000000);
  EXPECT_EQ(table.text(wide),
            "file  entries    size   share\n"
            "First group, wider than the names\n"
            "  a         3     3 B  75.0 %  ####################\n"
            "  b         1     1 B  25.0 %  #######\n"
            "Second\\0Agroup\n"
            "  c       100  2.0 MB\n");
}

TEST(ShareTable, CountsCharactersAndEscapesControlBytes) {
  ShareTable table;
  table.add("\xC3\xA4", 1, 1);
  table.add("\x1B", 1, 1);
  EXPECT_EQ(table.text(wide),
            "file  entries  size   share\n"
            "\xC3\xA4           1   1 B  50.0 %  ####################\n"
            "\\1B         1   1 B  50.0 %  ####################\n");
}

struct Fit {
  std::size_t width;
  std::string text;
};

void PrintTo(const Fit& fit, std::ostream* out) {
  *out << fit.width;
}

class ShareTableFit : public ::testing::TestWithParam<Fit> {};

TEST_P(ShareTableFit, ShortensBarsThenNames) {
  ShareTable table;
  table.beginGroup("Base DN OU=\xC3\x84RZTE,DC=EXAMPLE,DC=COM");
  table.add("/var/lib/\xC3\xA4/server1.ldif", 2, 100);
  table.add("/var/lib/\xC3\xA4/server2.ldif", 1, 50);
  EXPECT_EQ(table.text(GetParam().width), GetParam().text);
}

/// The table with whole names, and what stands behind each row.
std::string withWholeNames(const std::string& first, const std::string& second) {
  return "file                       entries   size   share\n"
         "Base DN OU=\xC3\x84RZTE,DC=EXAMPLE,DC=COM\n"
         "  /var/lib/\xC3\xA4/server1.ldif        2  100 B  66.7 %" +
         first +
         "\n"
         "  /var/lib/\xC3\xA4/server2.ldif        1   50 B  33.3 %" +
         second + "\n";
}

INSTANTIATE_TEST_SUITE_P(
    Widths, ShareTableFit,
    ::testing::Values(Fit{71, withWholeNames("  ####################", "  ##########")},
                      Fit{61, withWholeNames("  ##########", "  #####")},
                      Fit{58,
                          "file                      entries   size   share\n"
                          "Base DN OU=\xC3\x84RZTE,DC=EXAMPLE,DC=COM\n"
                          "...ar/lib/\xC3\xA4/server1.ldif        2  100 B  66.7 %  ########\n"
                          "...ar/lib/\xC3\xA4/server2.ldif        1   50 B  33.3 %  ####\n"},
                      Fit{50,
                          "file              entries   size   share\n"
                          "Base DN OU=\xC3\x84RZTE,DC=EXAMPLE,DC=COM\n"
                          ".../server1.ldif        2  100 B  66.7 %  ########\n"
                          ".../server2.ldif        1   50 B  33.3 %  ####\n"},
                      Fit{49, withWholeNames("", "")},
                      Fit{32,
                          "file      entries   size   share\n"
                          "Base DN OU=\xC3\x84RZTE,DC=EXAMPLE,D...\n"
                          "....ldif        2  100 B  66.7 %\n"
                          "....ldif        1   50 B  33.3 %\n"},
                      Fit{15,
                          "file      entries   size   share\n"
                          "Base DN OU=\xC3\x84...\n"
                          "....ldif        2  100 B  66.7 %\n"
                          "....ldif        1   50 B  33.3 %\n"}));

}  // namespace
