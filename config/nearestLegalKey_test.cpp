#include "config/nearestLegalKey.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace {

struct Row {
  const char* name;
  std::string key;
  const char* global;   // the nearest one before the first "basedn"
  const char* section;  // and behind it
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

class NearestLegalKey : public ::testing::TestWithParam<Row> {};

TEST_P(NearestLegalKey, IsOneOfThePlaceOrNone) {
  const Row& row = GetParam();
  EXPECT_EQ(nearestLegalKey(row.key, false), row.global);
  EXPECT_EQ(nearestLegalKey(row.key, true), row.section);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, NearestLegalKey,
    ::testing::Values(
        Row{"ALetterTooFew", "inputfil", "inputfile", ""},
        Row{"ALetterTooMany", "logfiles", "logfile", ""},
        Row{"AWrongLetter", "splitbx", "splitby", ""}, Row{"Exchanged", "fiel", "", "file"},
        Row{"ExchangedInALongKey", "acitontype", "actiontype", ""},
        Row{"TwoMistakes", "imputfille", "inputfile", ""},
        Row{"ThreeInALongKey", "defaultoutfile", "defaultoutputfile", ""},
        Row{"TwoInAShortKey", "uri1", "", ""}, Row{"OneInAShortKey", "uri", "", "url"},
        Row{"Underscores", "default_output_file", "defaultoutputfile", ""},
        Row{"Beginning", "input", "inputfile", ""},
        Row{"End", "outputfile", "defaultoutputfile", ""},
        Row{"BeginningOfSeveral", "base", "basedn", "basedn"},
        // By mistakes alone it would be "basedn".
        Row{"BeginningBeforeMistakes", "basedir", "basedirectory", "basedn"},
        Row{"NearTwo", "basednn", "basedn", "basedn"}, Row{"EndOfBasedn", "dn", "basedn", "basedn"},
        Row{"Far", "nonsense", "", ""}, Row{"Longer", std::string(1000, 'x'), "", ""},
        Row{"OneLetter", "f", "", ""}, Row{"Empty", "", "", ""},
        Row{"LegalInASection", "file", "", ""}, Row{"LegalInASectionToo", "url", "", ""},
        Row{"LegalBefore", "logfile", "", ""}, Row{"Refused", "parenturl", "", ""}),
    [](const ::testing::TestParamInfo<Row>& row) { return std::string(row.param.name); });

}  // namespace
