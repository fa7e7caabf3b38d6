#include "ldifsplit/LdifSplit.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <vector>

#include "actors/LdifIterateException.h"
#include "testsupport/CapturedOutput.h"
#include "testsupport/TemporaryDirectory.h"
#include "testsupport/TracesOn.h"
#include "testsupport/messageLine.h"

#ifdef NDEBUG
#error "an unmet invariant has to abort the run in every build type"
#endif

namespace {

using Names = std::vector<std::string>;

/// Sends the base DN, those above it and everything below it to one list of files.
class FixedActor : public LdifActor {
 public:
  FixedActor(const std::string& base, const Names& files) : LdifActor(base, {}) {
    outputFiles = files;
  }

  Names routed;

 private:
  Names* doGetOutputFilename(const std::string& dn) override {
    routed.push_back(dn);
    return new Names(outputFiles);
  }
  void receiveEntry(const LdifEntry& /*entry*/) override {}
};

/// Fails to route what is below its base DN.
template <typename Failure>
class FailingActor : public LdifActor {
 public:
  FailingActor(const std::string& base, const Failure& failure)
      : LdifActor(base, {}), failure_(failure) {}

 private:
  Names* doGetOutputFilename(const std::string& /*dn*/) override { throw failure_; }
  void receiveEntry(const LdifEntry& /*entry*/) override {}

  Failure failure_;
};

/// How a split ended and what it printed.
struct Result {
  std::string kind = "success";
  int line = -1;
  std::string message;
  std::string out;
  std::string err;
};

class Split : public ::testing::Test {
 protected:
  std::string path(const std::string& file) const { return directory_.path(file); }
  std::string inputName() const { return path("in.ldif"); }
  std::string defaultName() const { return path("default.ldif"); }

  /// Registers an actor whose files are in the directory.
  FixedActor& addActor(const std::string& baseDn, const Names& files) {
    Names paths;
    for (const std::string& file : files) {
      paths.push_back(path(file));
    }
    auto* actor = new FixedActor(baseDn, paths);
    add(baseDn, actor);
    return *actor;
  }

  void add(const std::string& baseDn, LdifActor* actor) {
    owned_.emplace_back(actor);
    actors_[baseDn] = actor;
  }

  Result split(const std::string& input, int firstLine = 0) {
    directory_.write("in.ldif", input);
    return splitFile(inputName(), firstLine);
  }

  Result splitFile(const std::string& name, int firstLine = 0) {
    Result result;
    const CapturedOutput output = captured([&] {
      try {
        ldifsplit::ldifSplit(name, actors_, defaultName(), "not read", firstLine);
      } catch (const ldifsplit::LdifSplitException& failure) {
        result = {"LdifSplitException", failure.line(), failure.message(), "", ""};
      } catch (const ldifsplit::SplitOutputException& failure) {
        result = {"SplitOutputException", failure.line(), failure.message(), "", ""};
      }
    });
    result.out = output.out;
    result.err = output.err;
    return result;
  }

  /// Splits an input that is accepted without a message.
  void accept(const std::string& input, int firstLine = 0) {
    const Result result = split(input, firstLine);
    EXPECT_EQ(result.kind, "success") << result.message << " at line " << result.line;
    EXPECT_EQ(result.out + result.err, "");
  }

  std::string content(const std::string& file) const { return directory_.read(file); }

  /// What a file holds whose records are `records`.
  static std::string file(const std::string& records) { return "version: 1\n\n" + records; }

  TemporaryDirectory directory_;
  std::map<std::string, LdifActor*> actors_;

 private:
  std::vector<std::unique_ptr<LdifActor>> owned_;
};

const char* const noFile = "(no file)";

void expectFailure(const Result& result, const std::string& kind, int line,
                   const std::string& message, const std::string& printed) {
  EXPECT_EQ(result.kind, kind);
  EXPECT_EQ(result.line, line);
  EXPECT_EQ(result.message, message);
  EXPECT_EQ(result.err, printed);
  EXPECT_EQ(result.out, "");
}

/// A warning: the number of its message, and the line of the input that it names.
struct Told {
  int message;
  int line;
};

// What is copied, and how.

/// An input of records below no base DN, and what the default output file then holds.
struct CopyRow {
  const char* name;
  std::string input;
  std::string content;
  std::vector<Told> told = {};
};

void PrintTo(const CopyRow& row, std::ostream* out) {
  *out << row.name;
}

class CopyingSplit : public Split {
 protected:
  /// Splits an input that is accepted, with these warnings and no others.
  void expectCopy(const std::string& input, const std::string& expected,
                  const std::vector<Told>& told) {
    const Result result = split(input);
    EXPECT_EQ(result.kind, "success") << result.message << " at line " << result.line;
    EXPECT_EQ(content("default.ldif"), expected);
    std::string warnings;
    for (const Told& warning : told) {
      warnings += messageLine(warning.message, {std::to_string(warning.line), inputName()});
    }
    EXPECT_EQ(result.out + result.err, warnings);
  }
};

class CopiedRecords : public CopyingSplit, public ::testing::WithParamInterface<CopyRow> {};

TEST_P(CopiedRecords, AreInTheDefaultOutputFile) {
  expectCopy(GetParam().input, GetParam().content, GetParam().told);
}

const std::string header = "version: 1\n\n";

INSTANTIATE_TEST_SUITE_P(
    Rows, CopiedRecords,
    ::testing::Values(
        CopyRow{"OneRecord", "dn: o=x\no: x\n", header + "\ndn: o=x\no: x\n"},
        CopyRow{"TwoRecords", "dn: o=x\no: x\n\ndn: o=y\no: y\n",
                header + "\ndn: o=x\no: x\n\ndn: o=y\no: y\n"},
        CopyRow{"RecordsWithoutABlankLine", "dn: o=x\no: x\ndn: o=y\n",
                header + "\ndn: o=x\no: x\n\ndn: o=y\n"},
        CopyRow{"DnAlone", "dn: o=x\n", header + "\ndn: o=x\n"},
        CopyRow{"DnAsWritten", "dn:   O = x , c=Y\no: x\n", header + "\ndn: O = x , c=Y\no: x\n"},
        CopyRow{"BlanksAtTheEndOfTheDn", "dn: o=x  \no: x\n", header + "\ndn: o=x  \no: x\n"},
        CopyRow{"NoBlankBehindTheColon", "dn:o=x\no:x\n", header + "\ndn: o=x\no:x\n"},
        CopyRow{"FoldedDnIsUnfolded", "dn: o=lo\n ng\n er\no: x\n",
                header + "\ndn: o=longer\no: x\n"},
        CopyRow{"FoldedAttributeStaysFolded", "dn: o=x\no: a\n  b\n c\n",
                header + "\ndn: o=x\no: a\n  b\n c\n"},
        // bz14 is "o=x" in base64.
        CopyRow{"Base64DnIsDecoded", "dn:: bz14\no:: eA==\n", header + "\ndn: o=x\no:: eA==\n"},
        CopyRow{"UrlIsCopied", "dn: o=x\njpegPhoto:< file:///tmp/x\n",
                header + "\ndn: o=x\njpegPhoto:< file:///tmp/x\n"},
        CopyRow{"CarriageReturnsOfAttributesStay", "dn: o=x\r\no: x\r\n\r\ndn: o=y\r\n",
                header + "\ndn: o=x\no: x\r\n\ndn: o=y\n"},
        CopyRow{"LastLineWithoutLineFeed", "dn: o=x\no: x", header + "\ndn: o=x\no: x", {{69, 2}}},
        CopyRow{"LastDnWithoutLineFeed",
                "dn: o=x\ndn: o=y",
                header + "\ndn: o=x\n\ndn: o=y\n",
                {{69, 2}}},
        CopyRow{"LinesBeforeTheFirstDnGoNowhere",
                "version: 1\nfoo: bar\n\ndn: o=x\n",
                header + "\ndn: o=x\n",
                {{67, 2}}},
        CopyRow{"BlankLinesAreDropped", "\n\ndn: o=x\n\n\no: x\n\n", header + "\ndn: o=x\no: x\n"},
        CopyRow{"CommentsAreDropped", "# a\ndn: o=x\n#b\no: x\n# dn: o=y\n",
                header + "\ndn: o=x\no: x\n"},
        CopyRow{"CommentIsDroppedWithItsContinuations", "dn: o=x\n# a\n dn: o=y\n  c\no: x\n",
                header + "\ndn: o=x\no: x\n"},
        CopyRow{"BlankLineIsDroppedWithItsContinuations", "dn: o=x\n\n lost\no: x\n",
                header + "\ndn: o=x\no: x\n"},
        CopyRow{"LineThatBeginsWithACarriageReturnIsDropped", "dn: o=x\n\rcn: lost\no: x\n",
                header + "\ndn: o=x\no: x\n"},
        CopyRow{"LineThatBeginsWithANulIsDropped", std::string("dn: o=x\n\0cn: lost\no: x\n", 23),
                header + "\ndn: o=x\no: x\n"},
        CopyRow{"NulInAValueIsCopied", std::string("dn: o=x\no: a\0b\n", 15),
                header + std::string("\ndn: o=x\no: a\0b\n", 16)},
        CopyRow{"ValueThatLooksLikeADn", "dn: o=x\ndnx: o=y\ndn-a: o=z\n",
                header + "\ndn: o=x\ndnx: o=y\ndn-a: o=z\n"},
        CopyRow{"DnInUpperCaseIsAnAttribute",
                "dn: o=x\nDN: o=y\nDn: o=z\n",
                header + "\ndn: o=x\nDN: o=y\nDn: o=z\n",
                {{66, 2}}},
        CopyRow{"DnWithAnOptionIsAnAttribute", "dn: o=x\ndn;lang-de: o=y\n",
                header + "\ndn: o=x\ndn;lang-de: o=y\n"},
        CopyRow{"DnWithABlankBeforeTheColon", "dn : o=x\no: x\n", header + "\ndn: o=x\no: x\n"},
        CopyRow{"DnFoldedInItsType", "d\n n: o=x\no: x\n", header + "\ndn: o=x\no: x\n"},
        CopyRow{"ChangeRecordsAreLinesLikeOthers",
                "dn: o=x\nchangetype: add\no: x\n",
                header + "\ndn: o=x\nchangetype: add\no: x\n",
                {{70, 2}}},
        CopyRow{
            "WithoutAnyDnThereIsNoFile", "version: 1\nDN: o=x\no: x\n", noFile, {{66, 2}, {67, 2}}},
        CopyRow{"OneLineWithoutLineFeedIsNotEvenLookedAt", "dn: o=x", noFile, {{69, 1}}},
        CopyRow{"OneInvalidLineWithoutLineFeedIsNotLookedAt", "no ldif", noFile, {{69, 1}}}),
    [](const ::testing::TestParamInfo<CopyRow>& row) { return row.param.name; });

// Where it goes.

TEST_F(Split, BaseDnAndThoseBelowGoToItsActor) {
  addActor("O=X", {"x.ldif"});
  accept("dn: o=x\na: 1\n\ndn: cn=a,o=x\na: 2\n\ndn: cn=b,cn=a,o=x\n\ndn: o=y\na: 3\n");
  EXPECT_EQ(content("x.ldif"),
            file("\ndn: o=x\na: 1\n\ndn: cn=a,o=x\na: 2\n\ndn: cn=b,cn=a,o=x\n"));
  EXPECT_EQ(content("default.ldif"), file("\ndn: o=y\na: 3\n"));
}

TEST_F(Split, ActorSeesTheNormalisedDn) {
  FixedActor& actor = addActor("O=X", {"x.ldif"});
  accept("dn: cn = A ; o=x\n\ndn: o = x\n");
  EXPECT_EQ(actor.routed, Names({"CN=A,O=X"}));
  EXPECT_EQ(content("x.ldif"), file("\ndn: cn = A ; o=x\n\ndn: o = x\n"));
}

TEST_F(Split, NestedBaseDnsAreResolvedInFavourOfTheInner) {
  addActor("O=X", {"outer.ldif"});
  addActor("OU=I,O=X", {"inner.ldif"});
  accept("dn: cn=a,ou=i,o=x\n\ndn: ou=i,o=x\n\ndn: cn=b,o=x\n\ndn: o=x\n");
  EXPECT_EQ(content("inner.ldif"), file("\ndn: cn=a,ou=i,o=x\n\ndn: ou=i,o=x\n"));
  EXPECT_EQ(content("outer.ldif"), file("\ndn: cn=b,o=x\n\ndn: o=x\n"));
  EXPECT_EQ(content("default.ldif"), noFile);
}

TEST_F(Split, EntryAboveABaseDnGoesToTheDefaultOutputFile) {
  addActor("OU=I,O=X", {"inner.ldif"});
  accept("dn: o=x\n\ndn: ou=i,o=x\n");
  EXPECT_EQ(content("default.ldif"), file("\ndn: o=x\n"));
  EXPECT_EQ(content("inner.ldif"), file("\ndn: ou=i,o=x\n"));
}

TEST_F(Split, RecordOfSeveralFilesIsInEach) {
  addActor("O=X", {"b.ldif", "a.ldif"});
  accept("dn: o=x\no: x\n d\n\ndn: o=y\no: y\n");
  EXPECT_EQ(content("a.ldif"), file("\ndn: o=x\no: x\n d\n"));
  EXPECT_EQ(content("b.ldif"), file("\ndn: o=x\no: x\n d\n"));
}

TEST_F(Split, ActorsThatNameOneFileShareItsStream) {
  addActor("O=X", {"shared.ldif", "x.ldif"});
  addActor("O=Y", {"y.ldif", "shared.ldif"});
  accept("dn: o=x\no: x\n\ndn: o=y\no: y\n\ndn: cn=a,o=x\n");
  EXPECT_EQ(content("shared.ldif"), file("\ndn: o=x\no: x\n\ndn: o=y\no: y\n\ndn: cn=a,o=x\n"));
  EXPECT_EQ(content("x.ldif"), file("\ndn: o=x\no: x\n\ndn: cn=a,o=x\n"));
  EXPECT_EQ(content("y.ldif"), file("\ndn: o=y\no: y\n"));
}

TEST_F(Split, DefaultOutputFileMayBeAnActorsFile) {
  addActor("O=X", {"default.ldif"});
  accept("dn: o=x\n\ndn: o=y\n");
  EXPECT_EQ(content("default.ldif"), file("\ndn: o=x\n\ndn: o=y\n"));
}

TEST_F(Split, FileThatIsListedTwiceIsWrittenTwiceLineByLine) {
  addActor("O=X", {"a.ldif", "a.ldif"});
  accept("dn: o=x\no: x\n");
  EXPECT_EQ(content("a.ldif"), file("\ndn: o=x\n\ndn: o=x\no: x\no: x\n"));
}

TEST_F(Split, ActorWithoutFilesDropsItsRecords) {
  addActor("O=X", {});
  accept("dn: o=y\na: 1\n\ndn: o=x\na: 2\n\ndn: o=y\na: 3\n");
  EXPECT_EQ(content("default.ldif"), file("\ndn: o=y\na: 1\n\ndn: o=y\na: 3\n"));
}

TEST_F(Split, FilesThatNoRecordReachesAreNotCreated) {
  addActor("O=X", {"x.ldif"});
  accept("dn: o=y\n");
  EXPECT_EQ(content("x.ldif"), noFile);
}

TEST_F(Split, EveryRunStartsItsFilesAnew) {
  directory_.write("default.ldif", "something old that is longer than what follows\n");
  accept("dn: o=y\n");
  EXPECT_EQ(content("default.ldif"), file("\ndn: o=y\n"));
}

// The first line to split.

const char* const threeRecords =
    "version: 1\n"  // 1
    "dn: o=x\n"     // 2
    "a: 1\n"        // 3
    "\n"            // 4
    "dn: o=\n y\n"  // 5 and 6
    "a: 2\n"        // 7
    "dn: o=z\n"     // 8
    "a: 3\n";       // 9

const char* const firstRecord = "\ndn: o=x\na: 1\n";
const char* const secondRecord = "\ndn: o=y\na: 2\n";
const char* const thirdRecord = "\ndn: o=z\na: 3\n";

struct FirstLineRow {
  const char* name;
  int firstLine;
  std::string content;
};

void PrintTo(const FirstLineRow& row, std::ostream* out) {
  *out << row.name;
}

class FirstLine : public Split, public ::testing::WithParamInterface<FirstLineRow> {};

TEST_P(FirstLine, RecordsWhoseDnIsBeforeItAreSkipped) {
  accept(threeRecords, GetParam().firstLine);
  EXPECT_EQ(content("default.ldif"), GetParam().content);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, FirstLine,
    ::testing::Values(
        FirstLineRow{"Negative", -1, header + firstRecord + secondRecord + thirdRecord},
        FirstLineRow{"Zero", 0, header + firstRecord + secondRecord + thirdRecord},
        FirstLineRow{"LineOfTheFirstDn", 2, header + firstRecord + secondRecord + thirdRecord},
        FirstLineRow{"BehindTheFirstDn", 3, header + secondRecord + thirdRecord},
        FirstLineRow{"FirstLineOfAFoldedDn", 5, header + secondRecord + thirdRecord},
        FirstLineRow{"LastLineOfAFoldedDn", 6, header + secondRecord + thirdRecord},
        FirstLineRow{"BehindTheFoldedDn", 7, header + thirdRecord},
        FirstLineRow{"LineOfTheLastDn", 8, header + thirdRecord},
        FirstLineRow{"BehindTheLastDn", 9, noFile}),
    [](const ::testing::TestParamInfo<FirstLineRow>& row) { return row.param.name; });

TEST_F(Split, InvalidDnBeforeTheFirstLineToSplitStopsTheRun) {
  expectFailure(split("dn: o=x\n\ndn: no dn\n\ndn: o=y\n", 5), "LdifSplitException", 3,
                "Invalid LDIF line detected", "");
  EXPECT_EQ(content("default.ldif"), noFile);
}

TEST_F(Split, SkippedRecordIsNotRouted) {
  FixedActor& actor = addActor("O=X", {"x.ldif"});
  accept("dn: cn=a,o=x\n\ndn: cn=b,o=x\n", 3);
  EXPECT_EQ(actor.routed, Names({"CN=B,O=X"}));
}

// Failures.

TEST_F(Split, MissingInputCannotBeOpened) {
  expectFailure(splitFile(path("missing.ldif")), "LdifSplitException", 0,
                "Error opening input file", "");
}

TEST_F(Split, EmptyInputCannotBeRead) {
  expectFailure(split(""), "LdifSplitException", 1, "Error reading input file", "");
  EXPECT_EQ(content("default.ldif"), noFile);
}

TEST_F(Split, DirectoryCannotBeRead) {
  expectFailure(splitFile(directory_.name()), "LdifSplitException", 1, "Error reading input file",
                "");
}

/// Inputs with a line that is not valid; `number` is that of its last physical line.
struct InvalidRow {
  const char* name;
  std::string input;
  int line;
  bool told;  // whether message 33 is printed
};

void PrintTo(const InvalidRow& row, std::ostream* out) {
  *out << row.name;
}

class InvalidLine : public Split, public ::testing::WithParamInterface<InvalidRow> {};

TEST_P(InvalidLine, StopsTheRun) {
  const Result result = split(GetParam().input);
  const std::string number = std::to_string(GetParam().line);
  expectFailure(result, "LdifSplitException", GetParam().line, "Invalid LDIF line detected",
                GetParam().told ? messageLine(33, {number, inputName()}) : "");
}

INSTANTIATE_TEST_SUITE_P(
    Rows, InvalidLine,
    ::testing::Values(InvalidRow{"FirstLine", "no ldif\ndn: o=x\n", 1, true},
                      InvalidRow{"InARecord", "dn: o=x\no: x\nno ldif\n", 3, true},
                      InvalidRow{"LastLineWithoutLineFeed", "dn: o=x\nno ldif", 2, true},
                      InvalidRow{"FoldedLine", "dn: o=x\nno\n ldif\n at all\n", 4, true},
                      InvalidRow{"BehindCommentsAndBlankLines", "# a\n b\n\ndn: o=x\n\n-\n", 6,
                                 true},
                      InvalidRow{"BadBase64", "dn: o=x\no:: a\n", 2, true},
                      InvalidRow{"BlankAtTheVeryFirst", " o: x\n", 1, true},
                      InvalidRow{"DnThatIsNoDn", "dn: o=x\n\ndn: nothing\n", 3, false},
                      InvalidRow{"EmptyDn", "version: 1\ndn:\n", 2, false},
                      InvalidRow{"FoldedDnThatIsNoDn", "dn: o=x,\n \n", 2, false},
                      InvalidRow{"DnFromAUrl", "dn:< file:///tmp/dn\n", 1, false},
                      InvalidRow{"NulInADn", std::string("dn: o=x\0,o=y\n", 13), 1, true},
                      InvalidRow{"NulBehindADn", std::string("dn: o=x\0\n", 9), 1, true},
                      InvalidRow{"NulInAType", std::string("dn: o=x\no\0x: y\n", 15), 2, true}),
    [](const ::testing::TestParamInfo<InvalidRow>& row) { return row.param.name; });

TEST_F(Split, IterateExceptionOfAnActorIsReplaced) {
  add("O=X", new FailingActor<LdifIterateException>("O=X", LdifIterateException(77, "its own")));
  expectFailure(split("dn: o=y\n\ndn: cn=a,\n o=x\na: 1\n"), "LdifSplitException", 4,
                "Caught LdifIterateException", "");
}

TEST_F(Split, OutputFileThatCannotBeCreatedStopsTheRun) {
  addActor("O=X", {"missing/x.ldif"});
  expectFailure(split("dn: o=y\n\ndn: o=x\n"), "LdifSplitException", 0,
                "error opening " + path("missing/x.ldif") + ": permission denied or does not exist",
                "");
}

TEST_F(Split, EmptyFileNameCannotBeOpened) {
  add("O=X", new FixedActor("O=X", {""}));
  expectFailure(split("dn: o=x\n"), "LdifSplitException", 0,
                "error opening : permission denied or does not exist", "");
}

TEST_F(Split, FilesOfARecordAreOpenedInTheOrderOfItsList) {
  addActor("O=X", {"z.ldif", "missing/x.ldif", "a.ldif"});
  EXPECT_EQ(split("dn: o=x\n").kind, "LdifSplitException");
  EXPECT_TRUE(directory_.has("z.ldif"));
  EXPECT_FALSE(directory_.has("a.ldif"));
}

TEST_F(Split, WriteToAFullDiskStopsTheRunAtItsLine) {
  ASSERT_EQ(::symlink("/dev/full", path("x.ldif").c_str()), 0);
  addActor("O=X", {"x.ldif"});
  // The line is longer than any buffer, so that the write itself fails.
  std::string longLine = "a: 1\n";
  for (int i = 0; i < 100; ++i) {
    longLine += " " + std::string(4000, 'x') + "\n";
  }
  expectFailure(split("dn: o=x\n" + longLine + "a: 2\n"), "SplitOutputException", 102,
                path("x.ldif"), "");
}

TEST_F(Split, LongDnOnAFullDiskStopsTheRunAtTheLatestAtTheClose) {
  ASSERT_EQ(::symlink("/dev/full", path("x.ldif").c_str()), 0);
  addActor("O=X", {"x.ldif"});
  std::string dn = "dn: cn=a\n";
  for (int i = 0; i < 100; ++i) {
    dn += " " + std::string(4000, 'x') + "\n";
  }
  const Result result = split(dn + " ,o=x\n");
  EXPECT_EQ(result.kind, "SplitOutputException");
  EXPECT_EQ(result.line, 102);
  EXPECT_EQ(result.message, path("x.ldif"));
}

TEST_F(Split, LastFlushThatFailsIsAFailedWriteAndTheOtherFilesAreComplete) {
  ASSERT_EQ(::symlink("/dev/full", path("m.ldif").c_str()), 0);
  addActor("O=X", {"a.ldif", "m.ldif", "z.ldif"});
  expectFailure(split("dn: o=x\no: x\n"), "SplitOutputException", 2, path("m.ldif"), "");
  EXPECT_EQ(content("a.ldif"), file("\ndn: o=x\no: x\n"));
  EXPECT_EQ(content("z.ldif"), file("\ndn: o=x\no: x\n"));
}

// Physical lines that are read in pieces.

const std::string longValue = "a: " + std::string(4092, 'v');  // one full piece

/// `told` is the line that message 60 names, 0 for no message.
struct PieceRow {
  const char* name;
  std::string input;
  std::string content;
  std::vector<Told> told = {};
};

void PrintTo(const PieceRow& row, std::ostream* out) {
  *out << row.name;
}

const std::string longComment = "#" + std::string(4094, 'c');  // a whole piece

class Pieces : public CopyingSplit, public ::testing::WithParamInterface<PieceRow> {};

TEST_P(Pieces, AreToldWhereTheyChangeTheOutput) {
  expectCopy(GetParam().input, GetParam().content, GetParam().told);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, Pieces,
    ::testing::Values(PieceRow{"LongestLineThatIsWhole",
                               "dn: o=x\n" + longValue.substr(0, 4094) + "\nb: 1\n",
                               header + "\ndn: o=x\n" + longValue.substr(0, 4094) + "\nb: 1\n",
                               {}},
                      PieceRow{"LineFeedIsDropped",
                               "dn: o=x\n" + longValue + "\nb: 1\n",
                               header + "\ndn: o=x\n" + longValue + "b: 1\n",
                               {{60, 3}}},
                      PieceRow{"CarriageReturnIsDropped",
                               "dn: o=x\n" + longValue + "\r\nb: 1\n",
                               header + "\ndn: o=x\n" + longValue + "b: 1\n",
                               {{60, 3}}},
                      PieceRow{"LoneCarriageReturnAtTheEndIsDropped",
                               "dn: o=x\n" + longValue + "\r",
                               header + "\ndn: o=x\n" + longValue,
                               {{60, 3}, {69, 3}}},
                      PieceRow{"NumberSignIsDropped",
                               "dn: o=x\n" + longValue + "#rest\nb: 1\n",
                               header + "\ndn: o=x\n" + longValue + "b: 1\n",
                               {{60, 3}}},
                      PieceRow{"NulIsDropped",
                               "dn: o=x\n" + longValue + std::string("\0rest\nb: 1\n", 11),
                               header + "\ndn: o=x\n" + longValue + "b: 1\n",
                               {{60, 3}}},
                      PieceRow{"OpensARecord",
                               "dn: o=x\n" + longValue + "dn: o=y\nb: 1\n",
                               header + "\ndn: o=x\n" + longValue + "\ndn: o=y\nb: 1\n",
                               {{60, 3}}},
                      PieceRow{"AttributeIsCopied",
                               "dn: o=x\n" + longValue + "b: 1\n",
                               header + "\ndn: o=x\n" + longValue + "b: 1\n",
                               {}},
                      PieceRow{"BlankContinuesTheLine",
                               "dn: o=x\n" + longValue + " rest\nb: 1\n",
                               header + "\ndn: o=x\n" + longValue + " rest\nb: 1\n",
                               {}},
                      PieceRow{"BeforeTheFirstRecord",
                               longValue + "\ndn: o=x\n",
                               header + "\ndn: o=x\n",
                               {{67, 1}, {60, 2}}},
                      PieceRow{"LineEndOfAComment",
                               "dn: o=x\n" + longComment + "\nb: 1\n",
                               header + "\ndn: o=x\nb: 1\n",
                               {}},
                      PieceRow{"LineEndOfACommentWithCarriageReturn",
                               "dn: o=x\n" + longComment + "\r\nb: 1\n",
                               header + "\ndn: o=x\nb: 1\n",
                               {}},
                      PieceRow{"LineEndOfACommentAndItsContinuation",
                               "dn: o=x\n" + longComment + "\n more\nb: 1\n",
                               header + "\ndn: o=x\nb: 1\n",
                               {}},
                      PieceRow{"LoneCarriageReturnOfAComment",
                               "dn: o=x\n" + longComment + "\rmore\nb: 1\n",
                               header + "\ndn: o=x\nb: 1\n",
                               {{60, 3}}},
                      PieceRow{"NumberSignInAComment",
                               "dn: o=x\n" + longComment + "#more\nb: 1\n",
                               header + "\ndn: o=x\nb: 1\n",
                               {{60, 3}}},
                      PieceRow{"RestOfACommentIsAnAttribute",
                               "dn: o=x\n" + longComment + "a: 1\nb: 1\n",
                               header + "\ndn: o=x\na: 1\nb: 1\n",
                               {{60, 3}}},
                      PieceRow{"RestOfACommentIsBase64",
                               "dn: o=x\n" + longComment + "a:: AAAA\r\nb: 1\n",
                               header + "\ndn: o=x\na:: AAAA\r\nb: 1\n",
                               {{60, 3}}},
                      PieceRow{"RestOfACommentOpensARecord",
                               "dn: o=x\n" + longComment + "dn: o=y\nb: 1\n",
                               header + "\ndn: o=x\n\ndn: o=y\nb: 1\n",
                               {{60, 3}}},
                      PieceRow{"RestOfACommentIsTwoPiecesOfData",
                               "dn: o=x\n" + longComment + longValue + "c: 1\nb: 1\n",
                               header + "\ndn: o=x\n" + longValue + "c: 1\nb: 1\n",
                               {{60, 3}, {60, 4}}},
                      PieceRow{"LineEndOfDataInAComment",
                               "dn: o=x\n" + longComment + longValue + "\nb: 1\n",
                               header + "\ndn: o=x\n" + longValue + "b: 1\n",
                               {{60, 3}, {60, 4}}},
                      PieceRow{"AttributeBehindAnotherLongComment",
                               "dn: o=x\n" + longComment + "\n" + longValue + "b: 1\n",
                               header + "\ndn: o=x\n" + longValue + "b: 1\n",
                               {}},
                      PieceRow{"LineEndOfAnAttributeBehindALongComment",
                               "dn: o=x\n" + longComment + "\n" + longValue + "\nb: 1\n",
                               header + "\ndn: o=x\n" + longValue + "b: 1\n",
                               {{60, 5}}}),
    [](const ::testing::TestParamInfo<PieceRow>& row) { return row.param.name; });

// Warnings that are given once.

class OnceInARun : public CopyingSplit {};

TEST_F(OnceInARun, DnInOtherCase) {
  expectCopy("dn: o=x\nDN : o=y\ndN: o=z\n", header + "\ndn: o=x\nDN : o=y\ndN: o=z\n", {{66, 2}});
  expectCopy("dn: o=x\ndn;x: o=y\ndnx: o=z\n", header + "\ndn: o=x\ndn;x: o=y\ndnx: o=z\n", {});
  expectCopy("dn: o=x\n\nDN:: bz14\n", header + "\ndn: o=x\nDN:: bz14\n", {{66, 3}});
}

TEST_F(OnceInARun, ChangeRecord) {
  expectCopy("dn: o=x\nchangetype: add\no: x\n\ndn: o=y\nChangeType:delete\n",
             header + "\ndn: o=x\nchangetype: add\no: x\n\ndn: o=y\nChangeType:delete\n",
             {{70, 2}});
  expectCopy("dn: o=x\nchangetypes: add\nxchangetype: add\n",
             header + "\ndn: o=x\nchangetypes: add\nxchangetype: add\n", {});
}

TEST_F(OnceInARun, LineBeforeTheFirstDn) {
  expectCopy("version: 1\n# c\ncn: a\ncn: b\n\ndn: o=x\n", header + "\ndn: o=x\n", {{67, 3}});
  expectCopy("cn:: AAAA\n BBBB\ndn: o=x\n", header + "\ndn: o=x\n", {{67, 2}});
  expectCopy("url:< file:x\n\ndn: o=x\n", header + "\ndn: o=x\n", {{67, 1}});
  expectCopy("Version : 1\n\ndn: o=x\n", header + "\ndn: o=x\n", {});
  expectCopy("versions: 1\n\ndn: o=x\n", header + "\ndn: o=x\n", {{67, 1}});
}

/// Nothing is before the first "dn" line once that was read, whatever became of its entry.
TEST_F(OnceInARun, LinesOfAnEntryThatIsSkippedOrHasNoFilesAreNotBeforeTheFirstDn) {
  addActor("O=X", {});
  accept("dn: o=x\ncn: a\n");
  accept("dn: o=y\ncn: a\n", 5);
}

TEST_F(OnceInARun, InputWithoutALineEnd) {
  expectCopy("dn: o=x\n\n# c", header + "\ndn: o=x\n", {{69, 3}});
  expectCopy("dn: o=x\ncn: a\n b", header + "\ndn: o=x\ncn: a\n b", {{69, 3}});
  expectCopy("dn: o=x\n\n", header + "\ndn: o=x\n", {});
}

// Pieces of overlong lines at which the run stops, or that are many.

TEST_F(Split, PieceThatIsNoLdifStopsTheRunWithoutAWarning) {
  expectFailure(split("dn: o=x\n" + longValue + "rest\n"), "LdifSplitException", 3,
                "Invalid LDIF line detected", messageLine(33, {"3", inputName()}));
}

TEST_F(Split, PieceThatIsNoDnStopsTheRunWithoutAWarning) {
  expectFailure(split("dn: o=x\n" + longValue + "dn: nothing\n"), "LdifSplitException", 3,
                "Invalid LDIF line detected", "");
}

TEST_F(Split, EachPlaceIsToldOnce) {
  const Result result = split("dn: o=x\n" + longValue + "\n" + longValue + "\nb: 1\n");
  EXPECT_EQ(result.err, messageLine(60, {"3", inputName()}) + messageLine(60, {"5", inputName()}));
}

// Traces.

class TracedSplit : public Split {
 protected:
  const TracesOn traces_;
};

TEST_F(TracedSplit, NamesTheInputAndEveryTargetOfADn) {
  addActor("O=X", {"b.ldif", "a.ldif"});
  EXPECT_EQ(split("dn: cn = a,o=x\na: 1\n\ndn: o=y\n").err,
            "c8010000 entering function ldifsplit::ldifSplit(" + inputName() +
                ")\n"
                "c8110000 putting CN=A,O=X in file " +
                path("b.ldif") +
                "\n"
                "c8110000 putting CN=A,O=X in file " +
                path("a.ldif") +
                "\n"
                "c8110000 putting O=Y in file " +
                path("default.ldif") + "\n");
}

TEST_F(TracedSplit, TellsWhyTheInputCannotBeOpened) {
  // 2 is ENOENT.
  EXPECT_EQ(splitFile(path("missing")).err, "c8010000 entering function ldifsplit::ldifSplit(" +
                                                path("missing") +
                                                ")\n"
                                                "c8110000 error opening ldif input file: " +
                                                path("missing") + ". errno: 2\n");
}

TEST_F(TracedSplit, TellsThatTheInputCannotBeRead) {
  EXPECT_EQ(split("").err, "c8010000 entering function ldifsplit::ldifSplit(" + inputName() +
                               ")\n"
                               "c8110000 error reading ldif input file: " +
                               inputName() + "\n");
}

// Exceptions that are not declared.

using SplitDeathTest = Split;

TEST_F(SplitDeathTest, OtherExceptionOfAnActorEndsTheProgram) {
  add("O=X", new FailingActor<std::runtime_error>("O=X", std::runtime_error("from the actor")));
  directory_.write("in.ldif", "dn: cn=a,o=x\n\n");
  const auto catchAll = [&] {
    try {
      ldifsplit::ldifSplit(inputName(), actors_, defaultName(), "", 0);
    } catch (...) {
      std::fputs("the caller's handler was reached\n", stderr);
    }
    std::_Exit(0);
  };
  EXPECT_EXIT(catchAll(), ::testing::KilledBySignal(SIGABRT), "runtime_error");
}

}  // namespace
