#include "driver/ShareTable.h"

#include <gtest/gtest.h>

namespace {

TEST(ShareTable, AlignsItsColumnsAndDrawsShares) {
  ShareTable table;
  table.add("one.ldif", 3, 750);
  table.add("x", 12345, 250);
  EXPECT_EQ(table.text(),
            "file      entries   size   share\n"
            "one.ldif        3  750 B  75.0 %  ###############\n"
            "x           12345  250 B  25.0 %  #####\n");
}

TEST(ShareTable, OfNothingHasNoShares) {
  ShareTable table;
  table.add("x", 0, 0);
  EXPECT_EQ(table.text(),
            "file  entries  size  share\n"
            "x           0   0 B  0.0 %\n");
}

TEST(ShareTable, CountsCharactersAndEscapesControlBytes) {
  ShareTable table;
  table.add("\xC3\xA4", 1, 1);
  table.add("\x1B", 1, 1);
  EXPECT_EQ(table.text(),
            "file  entries  size   share\n"
            "\xC3\xA4           1   1 B  50.0 %  ##########\n"
            "\\1B         1   1 B  50.0 %  ##########\n");
}

}  // namespace
