#include "platform/dirclient/string_prep.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <ctime>
#include <memory_resource>
#include <optional>
#include <ostream>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "testsupport/HeapAllocations.h"

namespace {

using namespace std::string_literals;
using dirclient::Insignificant;
using dirclient::LetterCase;
using dirclient::prepareString;

constexpr auto keep = LetterCase::keep;
constexpr auto upper = LetterCase::upper;
constexpr auto spaces = Insignificant::spaces;
constexpr auto numeric = Insignificant::numericString;
constexpr auto telephone = Insignificant::telephoneNumber;

constexpr std::array bothCases = {keep, upper};
constexpr std::array allHandlings = {spaces, numeric, telephone};

std::optional<std::string> prepared(std::string_view text, LetterCase letterCase,
                                    Insignificant insignificant) {
  std::pmr::string result;
  if (!prepareString(text, letterCase, insignificant, result)) {
    return std::nullopt;
  }
  return std::string(result);
}

struct Row {
  const char* name;
  LetterCase letterCase;
  Insignificant insignificant;
  std::string text;
  std::string expected;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

class PreparedRow : public ::testing::TestWithParam<Row> {};

TEST_P(PreparedRow, HasThisResult) {
  EXPECT_EQ(prepared(GetParam().text, GetParam().letterCase, GetParam().insignificant),
            GetParam().expected);
}

TEST_P(PreparedRow, ResultStaysWhenPreparedAgain) {
  EXPECT_EQ(prepared(GetParam().expected, GetParam().letterCase, GetParam().insignificant),
            GetParam().expected);
}

TEST_P(PreparedRow, IsAppended) {
  std::pmr::string result = "before  ";
  ASSERT_TRUE(
      prepareString(GetParam().text, GetParam().letterCase, GetParam().insignificant, result));
  EXPECT_EQ(result, ("before  " + GetParam().expected).c_str());
}

std::string nameOf(const ::testing::TestParamInfo<Row>& row) {
  return row.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    Ascii, PreparedRow,
    ::testing::Values(
        Row{"BlanksAndCase", upper, spaces, " Local  Host ", "LOCAL HOST"},
        Row{"CaseKept", keep, spaces, " Local  Host ", "Local Host"},
        Row{"Empty", upper, spaces, "", ""},  //
        Row{"OnlyBlanks", upper, spaces, "  ", ""},
        Row{"ManyBlanks", upper, spaces, "                 a                 b        ", "A B"},
        Row{"LetterBounds", upper, spaces, "@AZ[`az{@AZ[`az{", "@AZ[`AZ{@AZ[`AZ{"},
        Row{"LetterBoundsKept", keep, spaces, "@AZ[`az{@AZ[`az{", "@AZ[`az{@AZ[`az{"},
        Row{"TabsAndLineEnds", upper, spaces, "\ta\tb\nc\vd\fe\rf\r\n", "A B C D E F"},
        Row{"OtherControls", upper, spaces, "\0a\x01 \x08 b\x0E\x1F\x7F"s, "A B"},
        Row{"ControlInsideWord", keep, spaces, "abc\0\x7F"s + "defgh", "abcdefgh"},
        Row{"HyphensStay", upper, spaces, " -a - b-", "-A - B-"},
        Row{"Numeric", upper, numeric, " 12 34  5\t6 ", "123456"},
        Row{"NumericOfLongWords", upper, numeric, "12345678 12345678 -", "1234567812345678-"},
        Row{"Telephone", keep, telephone, "+1 408 555-1234 - ", "+14085551234"},
        Row{"TelephoneOfHyphens", keep, telephone, "--------- ", ""},
        Row{"TelephoneKeepsCase", keep, telephone, "Call-a b", "Callab"},
        Row{"TelephoneUpper", upper, telephone, "Call-a b", "CALLAB"}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Map, PreparedRow,
    ::testing::Values(
        Row{"SoftHyphen", upper, spaces, "a\u00ADb", "AB"},
        Row{"MongolianTodoSoftHyphen", upper, spaces, "a\u1806b", "AB"},
        Row{"GraphemeJoinerGoesBeforeComposition", keep, spaces, "e\u034F\u0301", "\u00E9"},
        Row{"VariationSelectors", keep, spaces, "a\u180B\u180D\uFE00\uFE0Fb", "ab"},
        Row{"CodePointFF00IsNoVariationSelector", keep, spaces, "a\uFF00b", "a\uFF00b"},
        Row{"ObjectReplacement", keep, spaces, "a\uFFFCb", "ab"},
        Row{"C1Controls", keep, spaces,
            "a\xC2\x80\xC2\x84\xC2\x86\xC2\x9F"
            "b",
            "ab"},
        Row{"NextLineIsSpace", keep, spaces,
            "a\xC2\x85"
            "b",
            "a b"},
        Row{"FormatControls", keep, spaces, "a\u06DD\u070F\u180E\u200C\u202E\u2060\u206F\uFEFFb",
            "ab"},
        Row{"Annotations", keep, spaces, "a\uFFF9\uFFFBb", "ab"},
        Row{"MusicalControls", keep, spaces, "a\U0001D173\U0001D17Ab", "ab"},
        Row{"Tags", keep, spaces, "a\U000E0001\U000E0020\U000E007Fb", "ab"},
        Row{"ZeroWidthSpace", keep, spaces, "a\u200Bb", "ab"},
        Row{"NoBreakSpaces", keep, spaces, "\u00A0a\u00A0\u202Fb\u00A0", "a b"},
        Row{"Separators", keep, spaces, "a\u1680\u2000\u200A\u2028\u2029\u205F\u3000b", "a b"},
        Row{"ReplacementCharacterStays", keep, spaces, "\uFFFD", "\uFFFD"},
        Row{"PrivateUseStays", upper, spaces, "\uE000\U000F0000\U0010FFFD",
            "\uE000\U000F0000\U0010FFFD"},
        Row{"NoncharactersStay", upper, spaces, "\uFDD0\uFFFF\U0010FFFF",
            "\uFDD0\uFFFF\U0010FFFF"}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Case, PreparedRow,
    ::testing::Values(
        Row{"Latin1", upper, spaces, "M\u00FCller", "M\u00DCLLER"},
        Row{"Latin1Kept", keep, spaces, "M\u00FCller", "M\u00FCller"},
        Row{"Decomposed", upper, spaces, "Mu\u0308ller", "M\u00DCLLER"},
        Row{"DecomposedCapital", upper, spaces, "MU\u0308LLER", "M\u00DCLLER"},
        Row{"CapitalInAnotherBlock", upper, spaces, "\u00FF", "\u0178"},
        Row{"SharpS", upper, spaces, "Stra\u00DFe", "STRASSE"},
        Row{"DotlessIHasNoCapitalOfItsOwn", upper, spaces, "\u0131", "\u0131"},
        Row{"DottedCapitalI", upper, spaces, "\u0130", "I\u0307"},
        Row{"LongS", upper, spaces, "\u017F", "S"}, Row{"KelvinSign", upper, spaces, "\u212A", "K"},
        Row{"KelvinSignKept", keep, spaces, "\u212A", "K"},
        Row{"AngstromSign", upper, spaces, "\u212B", "\u00C5"},
        Row{"OhmSign", upper, spaces, "\u2126", "\u03A9"},
        Row{"MicroSign", upper, spaces, "\u00B5", "\u039C"},
        Row{"FinalSigma", upper, spaces, "\u03C3\u03C2\u03A3", "\u03A3\u03A3\u03A3"},
        Row{"FinalSigmaKept", keep, spaces, "\u03C3\u03C2\u03A3", "\u03C3\u03C2\u03A3"},
        Row{"JWithCaronHasNoCapital", upper, spaces, "\u01F0J\u030C", "\u01F0\u01F0"},
        Row{"HWithLineBelowHasNoCapital", upper, spaces, "\u1E96H\u0331", "\u1E96\u1E96"},
        Row{"ApostropheN", upper, spaces, "\u0149", "\u02BCN"},
        Row{"TitlecaseDigraph", upper, spaces, "\u01C5", "D\u017D"},
        Row{"TitlecaseDigraphKept", keep, spaces, "\u01C5", "D\u017E"},
        Row{"Ligature", upper, spaces, "\uFB03", "FFI"},
        Row{"Telephone", upper, spaces, "\u2121", "TEL"},
        Row{"RomanNumeral", upper, spaces, "\u2163", "IV"},
        Row{"Fullwidth", upper, spaces, "\uFF21\uFF42", "AB"},
        Row{"IotaSubscript", upper, spaces, "\u03B1\u0345", "\u0391\u0399"},
        Row{"IotaSubscriptInLetter", upper, spaces, "\u1F80", "\u1F08\u0399"},
        Row{"IotaWithTwoMarks", upper, spaces, "\u0390", "\u0390"},
        Row{"Deseret", upper, spaces, "\U00010428\U00010400", "\U00010400\U00010400"},
        Row{"CapitalWithoutSmallLetterIn32", upper, spaces, "\u04C0\u10A0\u13A0",
            "\u04C0\u10A0\u13A0"},
        Row{"SmallLetterWithoutCapitalIn32", upper, spaces, "\u0250\u10D0", "\u0250\u10D0"},
        Row{"LettersYoungerThan32", upper, spaces, "\u1E9E\u023A\u2C65\uAB70",
            "\u1E9E\u023A\u2C65\uAB70"}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Nfkc, PreparedRow,
    ::testing::Values(
        Row{"Composes", keep, spaces, "e\u0301", "\u00E9"},
        Row{"ComposesTwice", keep, spaces, "o\u0302\u0301", "\u1ED1"},
        Row{"MarksInCanonicalOrder", keep, spaces, "q\u0307\u0323", "q\u0323\u0307"},
        Row{"MarkComposesOverALowerOne", keep, spaces, "a\u0316\u0301", "\u00E1\u0316"},
        Row{"MarksOfOneClassKeepTheirOrder", keep, spaces, "q\u0301\u0300\u0302",
            "q\u0301\u0300\u0302"},
        Row{"MarkOfTheSameClassBlocks", keep, spaces, "a\u0305\u0301", "a\u0305\u0301"},
        Row{"LongSWithDotsAboveAndBelow", keep, spaces, "\u1E9B\u0323", "\u1E69"},
        Row{"MarksBeforeAnyStarter", keep, spaces, "\u0301\u0323a", "\u0323\u0301a"},
        Row{"LeadAndVowel", keep, spaces, "\u1100\u1161", "\uAC00"},
        Row{"LeadVowelAndTrail", keep, spaces, "\u1112\u1161\u11AB", "\uD55C"},
        Row{"SyllableAndTrail", keep, spaces, "\uAC00\u11C2", "\uAC1B"},
        Row{"LastSyllable", keep, spaces, "\u1112\u1175\u11C2", "\uD7A3"},
        Row{"SyllableStays", keep, spaces, "\uD7A3\uAC01", "\uD7A3\uAC01"},
        Row{"SyllableWithTrailTakesNoOther", keep, spaces, "\uAC01\u11A8", "\uAC01\u11A8"},
        Row{"OldHangulStays", keep, spaces, "\u1113\u1161\u1100\u1176\uAC00\u11A7\uAC00\u11C3",
            "\u1113\u1161\u1100\u1176\uAC00\u11A7\uAC00\u11C3"},
        Row{"MarkBetweenHangulBlocks", keep, spaces, "\u1100\u0300\u1161", "\u1100\u0300\u1161"},
        Row{"VowelSignsCompose", keep, spaces, "\u09C7\u09BE", "\u09CB"},
        Row{"VowelSignsKeptApart", keep, spaces, "\u09C7\u0334\u09BE", "\u09C7\u0334\u09BE"},
        Row{"ExcludedByScript", keep, spaces, "\u0958", "\u0915\u093C"},
        Row{"ExcludedAfterVersion3", keep, spaces, "\u2ADC", "\u2ADD\u0338"},
        Row{"ExcludedSingleton", keep, spaces, "\u0340", "\u0300"},
        Row{"ExcludedNonStarter", keep, spaces, "\u0344", "\u0308\u0301"},
        Row{"Fraction", keep, spaces, "\u00BD", "1\u20442"},
        Row{"HalfwidthKana", keep, spaces, "\uFF76\uFF9E", "\u30AC"},
        Row{"LongestDecomposition", keep, spaces, "\uFDFA",
            "\u0635\u0644\u0649 \u0627\u0644\u0644\u0647 \u0639\u0644\u064A\u0647 "
            "\u0648\u0633\u0644\u0645"},
        Row{"Corrigendum3IsIn32", keep, spaces, "\uF951", "\u964B"},
        Row{"Corrigendum4IsNot", keep, spaces, "\U0002F868\U0002F9BF", "\U0002136A\u4D57"},
        Row{"MarkYoungerThan32Parts", keep, spaces, "e\u1DC4\u0301", "e\u1DC4\u0301"},
        Row{"MarksYoungerThan32AreNotOrdered", keep, spaces, "e\u1DC4\u0316", "e\u1DC4\u0316"},
        Row{"CompatibilityYoungerThan32Stays", keep, spaces, "\u1D2C\uFA70", "\u1D2C\uFA70"}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    BlankAndMark, PreparedRow,
    ::testing::Values(
        Row{"NoBlankBeforeAMark", keep, spaces, " \u0301", " \u0301"},
        Row{"BlanksBeforeThatGo", keep, spaces, "   \u0301", " \u0301"},
        Row{"InnerBlankStaysBeside", keep, spaces, "a   \u0301  b", "a  \u0301 b"},
        Row{"OneSpaceWithMarkAfterALetter", keep, spaces, "a \u0301b", "a \u0301b"},
        Row{"NoBreakSpaceWithMark", keep, spaces, "\u00A0\u0301", " \u0301"},
        Row{"SpacingAcute", keep, spaces, " \u00B4 ", " \u0301"},
        Row{"SpacingMark", keep, spaces, " \u0903", " \u0903"},
        Row{"EnclosingMark", keep, spaces, " \u20DD", " \u20DD"},
        Row{"MarkYoungerThan32IsNone", keep, spaces, " \u1DC4", "\u1DC4"},
        Row{"RemovedJoinerIsNoMark", keep, spaces, "a \u034F", "a"},
        Row{"BlanksRoundARemovedOne", keep, spaces, "a \u200B b", "a b"},
        Row{"OnlyRemovedOnes", keep, spaces, " \u200B \u00AD", ""},
        Row{"Numeric", keep, numeric, " 1  \u0301 2", "1 \u03012"},
        Row{"Telephone", keep, telephone, "1- -\u0301- \u0301-2", "1-\u0301 \u03012"},
        Row{"HyphenWithMarkWithoutTelephone", keep, spaces, "- -\u0301", "- -\u0301"},
        Row{"EveryHyphen", keep, telephone, "1-\u058A\u2010\u2011\u2212\uFE63\uFF0D2", "12"},
        Row{"HyphensStayInNumeric", keep, numeric, "1-\u058A\u2010\u2212 2",
            "1-\u058A\u2010\u22122"},
        Row{"OtherDashesStay", keep, telephone, "1\u2013\u2014\u05BE\uFE582",
            "1\u2013\u2014\u05BE\u20142"},
        Row{"HangulLettersStayApart", keep, numeric, "\u1100  \u1161 1", "\u1100 \u11611"},
        Row{"SyllableAndTrailStayApart", keep, telephone, "\uAC00-\u11A8-\uAC01",
            "\uAC00 \u11A8\uAC01"},
        Row{"NoTrailBeforeTheFirst", keep, numeric, "\uAC00 \u11A7 \uAC00 \u11C3",
            "\uAC00\u11A7\uAC00\u11C3"},
        Row{"HangulThatCannotJoin", keep, numeric, "\u1100 \u11A8 \u1161", "\u1100\u11A8\u1161"}),
    nameOf);

// ------------------------------------------------------------------------------------------------

struct IllFormed {
  const char* name;
  std::string bytes;
};

void PrintTo(const IllFormed& row, std::ostream* out) {
  *out << row.name;
}

class IllFormedRow : public ::testing::TestWithParam<IllFormed> {};

TEST_P(IllFormedRow, IsRefusedWhereverItStandsAndNothingIsWritten) {
  const std::string& bytes = GetParam().bytes;
  for (const std::string& text : {bytes, "Some text " + bytes, "e\u0301 " + bytes + " more text",
                                  "J\u00F6rg \u65E5" + bytes, "\u00F6" + bytes + "\u0301 \u00F6"}) {
    for (const LetterCase letterCase : bothCases) {
      std::pmr::string result = "before";
      EXPECT_FALSE(prepareString(text, letterCase, spaces, result));
      EXPECT_EQ(result, "before");
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Utf8, IllFormedRow,
    ::testing::Values(
        IllFormed{"LoneContinuation", "\x80"}, IllFormed{"LastContinuation", "\xBF"},
        IllFormed{"TwoContinuations", "\x90\x80"}, IllFormed{"LastTwoContinuations", "\xBF\xBF"},
        IllFormed{"OverlongNul", "\xC0\x80"}, IllFormed{"OverlongDelete", "\xC1\xBF"},
        IllFormed{"OverlongThree", "\xE0\x9F\xBF"}, IllFormed{"OverlongFour", "\xF0\x8F\xBF\xBF"},
        IllFormed{"FirstSurrogate", "\xED\xA0\x80"}, IllFormed{"LastSurrogate", "\xED\xBF\xBF"},
        IllFormed{"Beyond10FFFF", "\xF4\x90\x80\x80"}, IllFormed{"LeadF5", "\xF5\x80\x80\x80"},
        IllFormed{"LeadF8", "\xF8\x90\x80\x80"}, IllFormed{"FiveBytes", "\xF8\x88\x80\x80\x80"},
        IllFormed{"ByteFF", "\xFF"}, IllFormed{"TwoOfTwoMissing", "\xC3"},
        IllFormed{"TwoOfTwoAscii",
                  "\xC3"
                  "A"},
        IllFormed{"ThreeCut", "\xE2\x82"}, IllFormed{"FourCut", "\xF0\x9F\x98"},
        IllFormed{"SecondOfThreeIsLead", "\xE2\xC3\xA9"}, IllFormed{"Latin1", "M\xFCller"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Utf8, EveryPrefixIsTakenExactlyAtCodePointBounds) {
  const std::vector<std::string> codePoints = {"a",      "\u00FC",     " ",      "\u0301",
                                               "\u20AC", "\U0001D15E", "\uD55C", "\U0010FFFF"};
  std::string text;
  std::set<std::size_t> bounds = {0};
  for (const std::string& codePoint : codePoints) {
    text += codePoint;
    bounds.insert(text.size());
  }
  for (std::size_t size = 0; size <= text.size(); ++size) {
    const bool isTaken = prepared(text.substr(0, size), upper, spaces).has_value();
    EXPECT_EQ(isTaken, bounds.contains(size)) << size;
    const std::vector<char> nothingBehind(text.begin(), text.begin() + static_cast<long>(size));
    const std::string_view view(nothingBehind.data(), size);
    EXPECT_EQ(prepared(view, upper, spaces).has_value(), isTaken) << size;
  }
}

/// A copy of a text of at most a page, behind which no byte can be read.
class TextAtTheEndOfMemory {
 public:
  explicit TextAtTheEndOfMemory(std::string_view text) : size_(text.size()) {
    const int protection = PROT_READ | PROT_WRITE;
    pages_ = ::mmap(nullptr, 2 * page_, protection, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages_ == MAP_FAILED || ::mprotect(end(), page_, PROT_NONE) != 0) {
      throw std::runtime_error("no memory without a neighbour");
    }
    text.copy(end() - size_, size_);
  }
  ~TextAtTheEndOfMemory() { ::munmap(pages_, 2 * page_); }
  TextAtTheEndOfMemory(const TextAtTheEndOfMemory&) = delete;
  TextAtTheEndOfMemory& operator=(const TextAtTheEndOfMemory&) = delete;

  std::string_view text() const { return {end() - size_, size_}; }

 private:
  char* end() const { return static_cast<char*>(pages_) + page_; }

  const std::size_t page_ = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  const std::size_t size_;
  void* pages_ = nullptr;
};

TEST(Utf8, BytesBehindTheTextAreNotRead) {
  for (const std::string before : {"", "a", "abcdefghijklmnop"}) {
    for (const std::string codePoint : {"a", "\u00FC", "\u20AC", "\uD55C", "\U0010FFFF"}) {
      for (std::size_t size = 0; size <= codePoint.size(); ++size) {
        const TextAtTheEndOfMemory memory(before + codePoint.substr(0, size));
        const bool isWhole = size == 0 || size == codePoint.size();
        EXPECT_EQ(prepared(memory.text(), upper, spaces).has_value(), isWhole) << memory.text();
      }
    }
  }
}

TEST(Utf8, BoundsOfEachLengthAreTaken) {
  for (const char* text : {"\xC3\x80", "\xDF\xBF", "\xE0\xA4\x85", "\xED\x9F\xBF", "\xEE\x80\x80",
                           "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"}) {
    EXPECT_EQ(prepared(text, keep, spaces), text);
  }
}

// ------------------------------------------------------------------------------------------------

/// U+200B is mapped to nothing, and nothing is simple before it: behind every code point it forces
/// each of them through all steps and changes no result.
std::string offTheFastPath(const std::string& text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    result += text[i];
    const bool isInside = i + 1 < text.size() && (text[i + 1] & '\xC0') == '\x80';
    result += isInside ? "" : "\u200B";
  }
  return result;
}

void expectBothPathsAgree(const std::string& text) {
  for (const LetterCase letterCase : bothCases) {
    for (const Insignificant handling : allHandlings) {
      ASSERT_EQ(prepared(text, letterCase, handling),
                prepared(offTheFastPath(text), letterCase, handling))
          << ::testing::PrintToString(text);
    }
  }
}

TEST(FastPath, AgreesWithTheOtherForEveryAsciiByteAtEveryPlaceOfAWord) {
  for (int byte = 0; byte < 0x80; ++byte) {
    for (std::size_t place = 0; place < 17; ++place) {
      std::string text = "abcdefghIJKLMNOPq";
      text[place] = static_cast<char>(byte);
      expectBothPathsAgree(text);
    }
  }
}

TEST(FastPath, AgreesWithTheOtherForEveryChoiceOfBlanksInTwoWords) {
  for (unsigned blanks = 0; blanks < 0x10000; ++blanks) {
    std::string text = "abcdefghijklmnop\u00E9";
    for (std::size_t place = 0; place < 16; ++place) {
      text[place] = (blanks >> place & 1U) != 0 ? ' ' : text[place];
    }
    ASSERT_EQ(prepared(text, upper, spaces), prepared(offTheFastPath(text), upper, spaces)) << text;
  }
}

TEST(FastPath, AgreesWithTheOtherForRandomAscii) {
  constexpr std::string_view usual = "azAZ09@[`{~!  -\t\n\x01\x7F";
  std::mt19937 random(4518);
  for (int round = 0; round < 5000; ++round) {
    std::string text;
    const bool isAnyByte = random() % 4 == 0;
    for (std::size_t size = random() % 40; size > 0; --size) {
      text += isAnyByte ? static_cast<char>(random() % 0x80) : usual[random() % usual.size()];
    }
    expectBothPathsAgree(text);
  }
}

// What the fast path takes as it comes, in one to three bytes: letters with and without case, that
// compose with a mark behind them or do not, Hangul, and code points younger than Unicode 3.2.
const std::vector<std::string> simplePieces = {
    "a",      "E",      "7",      "-",      "#",      "\u00E9", "\u00D8", "\u00FF",
    "\u0131", "\u017D", "\u03B1", "\u03CE", "\u03C2", "\u0439", "\u042F", "\u05D0",
    "\u0915", "\u0378", "\u1100", "\u1F00", "\u1E69", "\u2010", "\u201C", "\u304B",
    "\u65E5", "\uAC00", "\uAC01", "\uE000", "\u1D2C"};

// What it has to leave: blanks and marks of every kind, what goes, folds to several code points or
// decomposes, ends a pair, or takes four bytes.
const std::vector<std::string> otherPieces = {
    " ",      "\t",     "\u00A0", "\u3000", "\u200B", "\u00AD",     "\x01",       "\u0301",
    "\u0323", "\u0345", "\u034F", "\u0903", "\u20DD", "\u3099",     "\u09BE",     "\u1161",
    "\u11A8", "\u00A8", "\u00DF", "\u0130", "\u01C5", "\u0390",     "\u00B5",     "\u00BD",
    "\uFB01", "\u212A", "\u2126", "\u1F88", "\uFF76", "\U00010428", "\U0001D15E", "\U00020000"};

TEST(FastPath, AgreesWithTheOtherForEveryThreePieces) {
  std::vector<std::string> pieces = simplePieces;
  pieces.insert(pieces.end(), otherPieces.begin(), otherPieces.end());
  for (const std::string& first : pieces) {
    for (const std::string& second : pieces) {
      for (const std::string& third : pieces) {
        std::string text = first;
        text += second;
        text += third;
        for (const LetterCase letterCase : bothCases) {
          ASSERT_EQ(prepared(text, letterCase, spaces),
                    prepared(offTheFastPath(text), letterCase, spaces))
              << ::testing::PrintToString(text);
        }
      }
    }
  }
}

TEST(FastPath, AgreesWithTheOtherForRandomRunsOfBothKinds) {
  std::mt19937 random(3454);
  for (int round = 0; round < 10000; ++round) {
    std::string text;
    for (std::size_t runs = random() % 6; runs > 0; --runs) {
      const auto& pieces = random() % 3 == 0 ? otherPieces : simplePieces;
      const std::size_t choice = 1 + random() % pieces.size();
      for (std::size_t size = random() % 12; size > 0; --size) {
        text += pieces[random() % choice];
      }
    }
    expectBothPathsAgree(text);
  }
}

// ------------------------------------------------------------------------------------------------

class Memory : public ::testing::Test {
 protected:
  /// The result, if all memory came from `size` bytes on the stack and none from the heap.
  template <std::size_t size>
  std::string preparedWithin(const std::string& text, LetterCase letterCase) {
    std::array<std::byte, size> stack{};
    std::pmr::monotonic_buffer_resource resource(stack.data(), stack.size(),
                                                 std::pmr::null_memory_resource());
    std::pmr::string result(&resource);
    const long before = heapAllocations();
    const bool isPrepared = prepareString(text, letterCase, spaces, result);
    EXPECT_EQ(heapAllocations(), before);
    EXPECT_TRUE(isPrepared);
    return std::string(result);
  }
};

TEST_F(Memory, AsciiTakesRoomForTheResultAndNoMore) {
  EXPECT_EQ(preparedWithin<101>(std::string(100, 'a'), upper), std::string(100, 'A'));
}

TEST_F(Memory, ShortAsciiTakesNone) {
  EXPECT_EQ(preparedWithin<1>("Short  Text", upper), "SHORT TEXT");
}

TEST_F(Memory, NamesTakeRoomForTheResultAndNoMore) {
  EXPECT_EQ(preparedWithin<64>("J\u00FCrgen  Mu\u0308ller-Stra\u00DFenbahner  \uD55C", upper),
            "J\u00DCRGEN M\u00DCLLER-STRASSENBAHNER \uD55C");
}

TEST_F(Memory, LongRunsOfMarksToo) {
  std::string text = "q";
  std::string ordered = "q";
  for (int i = 0; i < 500; ++i) {
    text += "\u0301\u0323";
    ordered += "\u0323";
  }
  for (int i = 0; i < 500; ++i) {
    ordered += "\u0301";
  }
  EXPECT_EQ(preparedWithin<65536>(text, upper), "Q" + ordered.substr(1));
}

TEST_F(Memory, HeapAllocationsAreCounted) {
  const std::string text(100, 'a');
  std::pmr::string result;
  const long before = heapAllocations();
  ASSERT_TRUE(prepareString(text, keep, spaces, result));
  EXPECT_EQ(heapAllocations(), before + 1);
  // Called by name: a compiler may leave out what a vector or a new expression takes for nothing.
  void* const onTheHeap = ::operator new(1);
  EXPECT_EQ(heapAllocations(), before + 2);
  ::operator delete(onTheHeap);
}

// ------------------------------------------------------------------------------------------------

std::string repeated(const std::string& text, std::size_t bytes) {
  std::string result;
  while (result.size() < bytes) {
    result += text;
  }
  return result;
}

/// Processor time, so that a busy machine does not matter: some hundredths of a second are usual,
/// tenths with sanitizers, and minutes where time grows with the square of a run's length.
TEST(Large, MarksOfAMegabyteComeOutInOrderAndInTime) {
  const std::size_t pairs = std::size_t{1} << 18U;
  std::string text = "q";
  for (std::size_t i = 0; i < pairs; ++i) {
    text += "\u0301\u0323";
  }
  const std::clock_t begin = std::clock();
  const auto result = prepared(text, keep, spaces);
  EXPECT_LT(std::clock() - begin, 10 * CLOCKS_PER_SEC);
  EXPECT_EQ(result, "q" + repeated("\u0323", 2 * pairs) + repeated("\u0301", 2 * pairs));
}

TEST(Large, MegabytesOfOneKindAreNoTrouble) {
  constexpr std::size_t megabyte = std::size_t{1} << 20U;
  EXPECT_EQ(prepared(repeated(" ", megabyte) + "\u00E9", upper, spaces), "\u00C9");
  EXPECT_EQ(prepared(repeated("\u00AD", megabyte), upper, spaces), "");
  EXPECT_EQ(prepared(repeated("e\u0301", megabyte), upper, spaces),
            repeated("\u00C9", megabyte / 3 * 2 + 2));
  EXPECT_EQ(prepared(repeated("ab", megabyte), upper, spaces), repeated("AB", megabyte));
  EXPECT_EQ(prepared(repeated("\u1161", megabyte), keep, spaces), repeated("\u1161", megabyte));
}

// ------------------------------------------------------------------------------------------------

TEST(Idempotence, HoldsForEveryPairOfALetterAndAMarkInEveryMode) {
  const std::vector<std::string> marks = {"\u0300", "\u0301", "\u0302", "\u0303", "\u0307",
                                          "\u0308", "\u030A", "\u030C", "\u0323", "\u0327",
                                          "\u0331", "\u0342", "\u0345", "\u05B4", "\u20DD"};
  const auto encoded = [](unsigned c) {
    return c < 0x800 ? std::string{static_cast<char>(0xC0U | c >> 6U),
                                   static_cast<char>(0x80U | (c & 0x3FU))}
                     : std::string{static_cast<char>(0xE0U | c >> 12U),
                                   static_cast<char>(0x80U | (c >> 6U & 0x3FU)),
                                   static_cast<char>(0x80U | (c & 0x3FU))};
  };
  for (unsigned c = 0x80; c < 0x2200; ++c) {
    for (const std::string& mark : marks) {
      for (const LetterCase letterCase : bothCases) {
        for (const Insignificant handling : allHandlings) {
          const auto once = prepared(encoded(c) + mark, letterCase, handling);
          ASSERT_TRUE(once);
          ASSERT_EQ(prepared(*once, letterCase, handling), once) << std::hex << c << ' ' << mark;
        }
      }
    }
  }
}

}  // namespace
