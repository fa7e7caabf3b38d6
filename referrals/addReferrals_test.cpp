#include "referrals/addReferrals.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <ostream>
#include <type_traits>

#include "common/AutoClose.h"
#include "testsupport/CapturedOutput.h"
#include "testsupport/FreshProcess.h"
#include "testsupport/TemporaryDirectory.h"
#include "testsupport/messageLine.h"

namespace {

using Texts = std::map<std::string, std::string>;

/// How a call ended and what it printed.
struct Result {
  bool threw = false;
  int line = -1;
  std::string message;
  CapturedOutput output;
};

template <typename Call>
Result run(Call call) {
  Result result;
  result.output = captured([&] {
    try {
      call();
    } catch (const VarnelReferralsException& failure) {
      result.threw = true;
      result.line = failure.line();
      result.message = failure.message();
    }
  });
  return result;
}

void expectSuccess(const Result& result) {
  EXPECT_FALSE(result.threw) << result.message;
  EXPECT_EQ(result.output.err, "");
}

void expectFailure(const Result& result, const std::string& message) {
  EXPECT_TRUE(result.threw);
  EXPECT_EQ(result.line, 0);
  EXPECT_EQ(result.message, message);
}

std::string cannotOpen(const std::string& name) {
  return "error opening " + name + ": permission denied or does not exist";
}

TEST(VarnelReferralsException, IsAnInputFileException) {
  EXPECT_TRUE((std::is_base_of<InputFileException, VarnelReferralsException>::value));
  EXPECT_TRUE(std::has_virtual_destructor<VarnelReferralsException>::value);
}

TEST(ReferralObjectclass, BringsItsLineEnd) {
  EXPECT_STREQ(referralObjectclass, "referral\n");
}

TEST(CheckWriteError, OneItemIsSuccess) {
  const Result result = run([] { checkWriteError(1, "a.ldif"); });
  expectSuccess(result);
  EXPECT_EQ(result.output.out, "");
}

class CheckWriteErrorCount : public ::testing::TestWithParam<unsigned int> {};

TEST_P(CheckWriteErrorCount, OtherThanOneIsAFailure) {
  const Result result = run([] { checkWriteError(GetParam(), "a.ldif"); });
  expectFailure(result, "a.ldif");
  EXPECT_EQ(result.output.err, messageLine(41, {"a.ldif"}));
  EXPECT_EQ(result.output.out, "");
}

INSTANTIATE_TEST_SUITE_P(Counts, CheckWriteErrorCount, ::testing::Values(0U, 2U, 4294967295U),
                         ::testing::PrintToStringParamName());

class Referrals : public ::testing::Test {
 protected:
  TemporaryDirectory directory_;
};

class WriteReferral : public Referrals {
 protected:
  /// What writeReferral appends to a file that holds "old\n".
  std::string written(const std::string& value, const std::string& dnLine) const {
    const std::string file = directory_.write("a.ldif", "old\n");
    {
      const AutoClose stream(std::fopen(file.c_str(), "a"));
      expectSuccess(run([&] { writeReferral(stream.get(), file, value, dnLine); }));
    }
    return directory_.read("a.ldif");
  }
};

TEST_F(WriteReferral, WritesTheSixPieces) {
  EXPECT_EQ(written("ldap://b:389", "dn: o=example"),
            "old\n"
            "dn: o=example\n"
            "objectclass: referral\n"
            "ref: ldap://b:389\n"
            "\n");
}

TEST_F(WriteReferral, AddsNothingToTheTexts) {
  EXPECT_EQ(written(" x y ", "o=example "),
            "old\no=example \nobjectclass: referral\nref:  x y \n\n");
}

TEST_F(WriteReferral, WithoutDnLineTheEntryBeginsWithALoneLineFeed) {
  EXPECT_EQ(written("ldap://b", ""), "old\n\nobjectclass: referral\nref: ldap://b\n\n");
}

TEST_F(WriteReferral, EmptyValueIsAFailedWriteAndThePiecesBeforeItStay) {
  const std::string file = directory_.write("a.ldif", "");
  Result result;
  {
    const AutoClose stream(std::fopen(file.c_str(), "a"));
    result = run([&] { writeReferral(stream.get(), "named.ldif", "", "dn: o=x"); });
  }
  expectFailure(result, "named.ldif");
  EXPECT_EQ(result.output.err, messageLine(41, {"named.ldif"}));
  EXPECT_EQ(directory_.read("a.ldif"), "dn: o=x\nobjectclass: referral\nref: ");
}

/// A limit for the file's size at which one piece finds no room, and what the file then holds.
struct FullAtPiece {
  const char* name;
  rlim_t limit;
  const char* content;
};

void PrintTo(const FullAtPiece& row, std::ostream* out) {
  *out << row.name;
}

class WriteReferralOnAFullDisk : public Referrals,
                                 public ::testing::WithParamInterface<FullAtPiece> {};

TEST_P(WriteReferralOnAFullDisk, StopsAtThePieceThatHasNoRoom) {
  const std::string file = directory_.write("a.ldif", "");
  inFreshProcess([&] {
    std::signal(SIGXFSZ, SIG_IGN);
    std::FILE* stream = std::fopen(file.c_str(), "a");
    ASSERT_NE(stream, nullptr);
    std::setvbuf(stream, nullptr, _IONBF, 0);
    struct rlimit limit {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    const struct rlimit before = limit;
    limit.rlim_cur = GetParam().limit;
    bool threw = false;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    try {
      writeReferral(stream, "a.ldif", "ldap://b", "dn: o=x");
    } catch (const VarnelReferralsException& failure) {
      threw = failure.line() == 0 && failure.message() == "a.ldif";
    }
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    EXPECT_TRUE(threw);
    std::fclose(stream);
  });
  EXPECT_EQ(directory_.read("a.ldif"), GetParam().content);
}

// Pieces of 8, 13, 9, 5, 8 and 2 bytes: the limits are the sums.
INSTANTIATE_TEST_SUITE_P(
    Pieces, WriteReferralOnAFullDisk,
    ::testing::Values(FullAtPiece{"DnLine", 0, ""}, FullAtPiece{"ObjectclassKey", 8, "dn: o=x\n"},
                      FullAtPiece{"ObjectclassValue", 21, "dn: o=x\nobjectclass: "},
                      FullAtPiece{"RefKey", 30, "dn: o=x\nobjectclass: referral\n"},
                      FullAtPiece{"RefValue", 35, "dn: o=x\nobjectclass: referral\nref: "},
                      FullAtPiece{"LineEnds", 43, "dn: o=x\nobjectclass: referral\nref: ldap://b"}),
    [](const ::testing::TestParamInfo<FullAtPiece>& row) { return row.param.name; });

class AddReferrals : public Referrals {
 protected:
  AddReferrals() {
    for (const char* file : {"a.ldif", "b.ldif", "c.ldif"}) {
      directory_.write(file, header);
    }
  }

  std::string path(const std::string& file) const { return directory_.path(file); }

  static constexpr const char* header = "version: 1\n\n";
};

constexpr const char* AddReferrals::header;

TEST_F(AddReferrals, EveryFileGetsAnEntryForEachOtherServer) {
  const Texts servers = {
      {"ldap://a", path("a.ldif")}, {"ldap://b", path("b.ldif")}, {"ldap://c", path("c.ldif")}};
  const Texts dnLines = {{"dn: o=1", "ldap://b"}, {"dn: o=2", "ldap://a"}, {"dn: o=3", "ldap://c"}};
  const Result result = run([&] { addReferrals(servers, dnLines); });
  expectSuccess(result);
  const std::string entryA = "dn: o=2\nobjectclass: referral\nref: ldap://a\n\n";
  const std::string entryB = "dn: o=1\nobjectclass: referral\nref: ldap://b\n\n";
  const std::string entryC = "dn: o=3\nobjectclass: referral\nref: ldap://c\n\n";
  EXPECT_EQ(directory_.read("a.ldif"), header + entryB + entryC);
  EXPECT_EQ(directory_.read("b.ldif"), header + entryA + entryC);
  EXPECT_EQ(directory_.read("c.ldif"), header + entryA + entryB);
  EXPECT_EQ(result.output.out, messageLine(43, {path("a.ldif")}) +
                                   messageLine(43, {path("b.ldif")}) +
                                   messageLine(43, {path("c.ldif")}));
}

TEST_F(AddReferrals, OneServerWritesNothing) {
  const Result result = run([&] {
    addReferrals({{"ldap://a", path("a.ldif")}}, {{"dn: o=1", "ldap://a"}});
  });
  expectSuccess(result);
  EXPECT_EQ(result.output.out, messageLine(43, {path("a.ldif")}));
  EXPECT_EQ(directory_.read("a.ldif"), header);
}

TEST_F(AddReferrals, OneServerNeedsNoFile) {
  const Result result = run([&] { addReferrals({{"ldap://a", path("missing.ldif")}}, {}); });
  expectSuccess(result);
  EXPECT_EQ(result.output.out, messageLine(43, {path("missing.ldif")}));
  EXPECT_FALSE(directory_.has("missing.ldif"));
}

TEST_F(AddReferrals, NoServerDoesNothing) {
  const Result result = run([&] { addReferrals({}, {{"dn: o=1", "ldap://a"}}); });
  expectSuccess(result);
  EXPECT_EQ(result.output.out, "");
}

TEST_F(AddReferrals, OfSeveralDnLinesTheGreatestIsUsed) {
  const Texts dnLines = {{"dn: o=9", "ldap://a"},
                         {"dn: o=2", "ldap://a"},
                         {"dn: o=10", "ldap://a"},
                         {"dn: o=z", "ldap://elsewhere"}};
  expectSuccess(run([&] {
    addReferrals({{"ldap://a", path("a.ldif")}, {"ldap://b", path("b.ldif")}}, dnLines);
  }));
  EXPECT_EQ(directory_.read("b.ldif"),
            "version: 1\n\ndn: o=9\nobjectclass: referral\nref: ldap://a\n\n");
  EXPECT_EQ(directory_.read("a.ldif"), "version: 1\n\n\nobjectclass: referral\nref: ldap://b\n\n");
}

TEST_F(AddReferrals, SharedFileGetsEachEntryOnce) {
  expectSuccess(run([&] {
    addReferrals({{"ldap://a", path("a.ldif")}, {"ldap://b", path("a.ldif")}},
                 {{"dn: o=1", "ldap://a"}, {"dn: o=2", "ldap://b"}});
  }));
  EXPECT_EQ(directory_.read("a.ldif"),
            "version: 1\n\n"
            "dn: o=1\nobjectclass: referral\nref: ldap://a\n\n"
            "dn: o=2\nobjectclass: referral\nref: ldap://b\n\n");
}

TEST_F(AddReferrals, MissingFileEndsTheRunAndIsNotCreated) {
  const Texts servers = {{"ldap://a", path("a.ldif")},
                         {"ldap://b", path("missing.ldif")},
                         {"ldap://c", path("c.ldif")}};
  const Result result = run([&] { addReferrals(servers, {}); });
  expectFailure(result, cannotOpen(path("missing.ldif")));
  EXPECT_EQ(result.output.err, messageLine(40, {path("missing.ldif")}));
  EXPECT_EQ(result.output.out, "");
  EXPECT_FALSE(directory_.has("missing.ldif"));
  EXPECT_EQ(directory_.read("c.ldif"), header);
}

TEST_F(AddReferrals, EntriesWrittenBeforeAFailureStay) {
  const Texts servers = {{"ldap://a", path("a.ldif")},
                         {"ldap://b", path("b.ldif")},
                         {"ldap://c", path("missing.ldif")}};
  const Result result = run([&] { addReferrals(servers, {{"dn: o=1", "ldap://a"}}); });
  expectFailure(result, cannotOpen(path("missing.ldif")));
  EXPECT_EQ(directory_.read("b.ldif"),
            "version: 1\n\ndn: o=1\nobjectclass: referral\nref: ldap://a\n\n");
}

TEST_F(AddReferrals, FileThatCannotBeOpenedHasNoMessage) {
  // A directory is there, and no one can open it for writing.
  const Texts servers = {{"ldap://a", path("a.ldif")}, {"ldap://b", directory_.name()}};
  const Result result = run([&] { addReferrals(servers, {}); });
  expectFailure(result, cannotOpen(directory_.name()));
  EXPECT_EQ(result.output.err, "");
  EXPECT_EQ(result.output.out, "");
}

TEST_F(AddReferrals, FlushThatFailsAtCloseIsAFailedWrite) {
  // The entry fits the stream's buffer, so that every fwrite succeeds.
  const Texts servers = {{"ldap://a", path("a.ldif")}, {"ldap://b", "/dev/full"}};
  const Result result = run([&] { addReferrals(servers, {}); });
  expectFailure(result, "/dev/full");
  EXPECT_EQ(result.output.err, messageLine(41, {"/dev/full"}));
  EXPECT_EQ(result.output.out, "");
}

TEST_F(AddReferrals, WriteThatFailsBeforeTheCloseIsToldOnce) {
  // More than any buffer holds.
  const std::string longUrl = "ldap://" + std::string(1024 * 1024, 'a');
  const Texts servers = {{longUrl, path("a.ldif")}, {"ldap://b", "/dev/full"}};
  const Result result = run([&] { addReferrals(servers, {}); });
  expectFailure(result, "/dev/full");
  EXPECT_EQ(result.output.err, messageLine(41, {"/dev/full"}));
}

TEST_F(AddReferrals, EmptyReferralValueIsAFailedWrite) {
  const Texts servers = {{"", path("a.ldif")}, {"ldap://b", path("b.ldif")}};
  const Result result = run([&] { addReferrals(servers, {{"dn: o=1", ""}}); });
  expectFailure(result, path("b.ldif"));
  EXPECT_EQ(result.output.err, messageLine(41, {path("b.ldif")}));
  EXPECT_EQ(directory_.read("b.ldif"), "version: 1\n\ndn: o=1\nobjectclass: referral\nref: ");
}

TEST_F(AddReferrals, EveryStreamIsClosed) {
  // With few descriptors a run that left one open per entry would fail; so would one that left the
  // stream of a failed write open.
  inFreshProcess([&] {
    struct rlimit limit {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = 32;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    const Texts servers = {{"", path("a.ldif")}, {"ldap://b", path("b.ldif")}};
    const Texts good = {{"ldap://a", path("a.ldif")}, {"ldap://b", path("b.ldif")}};
    for (int round = 0; round < 50; ++round) {
      expectFailure(run([&] { addReferrals(servers, {}); }), path("b.ldif"));
      expectSuccess(run([&] { addReferrals(good, {}); }));
    }
  });
}

}  // namespace
