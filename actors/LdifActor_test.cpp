#include "actors/LdifActor.h"

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <type_traits>

#include "actors/normalizeDn.h"
#include "common/AutoClose.h"
#include "testsupport/FreshProcess.h"
#include "testsupport/LoadedSchema.h"
#include "testsupport/TemporaryDirectory.h"

namespace {

using Names = std::vector<std::string>;

/// Records what the base class hands down.
class RecordingActor : public LdifActor {
 public:
  explicit RecordingActor(const std::string& base) : LdifActor(base, {}) {
    outputFiles = {"z.ldif", "a.ldif", "a.ldif"};
  }

  void askForInputPass() { needsInputPass = true; }
  bool isAskingForInputPass() const { return needsInputPass; }
  bool hasSpareFlag() const { return spareFlag; }

  Names routed;
  int entries = 0;

 private:
  Names* doGetOutputFilename(const std::string& dn) override {
    routed.push_back(dn);
    return new Names{"own.ldif"};
  }
  void receiveEntry(const LdifEntry& /*entry*/) override { ++entries; }
};

Names filesOf(LdifActor& actor, const std::string& dn) {
  const std::unique_ptr<Names> files(actor.getOutputFilename(dn));
  return *files;
}

const Names allFiles = {"z.ldif", "a.ldif", "a.ldif"};
const Names ownFiles = {"own.ldif"};

TEST(LdifActor, StartsWithItsFlagsClear) {
  const RecordingActor actor("O=C");
  EXPECT_FALSE(actor.isActivated());
  EXPECT_FALSE(actor.isAskingForInputPass());
  EXPECT_FALSE(actor.hasSpareFlag());
}

TEST(LdifActor, KeepsTheBaseDnAsGiven) {
  EXPECT_EQ(RecordingActor(" o = C ").getBaseDn(), " o = C ");
}

TEST(LdifActor, HasAVirtualDestructor) {
  EXPECT_TRUE(std::has_virtual_destructor<LdifActor>::value);
}

/// `routed` is the DN that the kind of actor gets to see, or a null pointer where the base class
/// decides.
struct RoutingRow {
  const char* name;
  const char* dn;
  const char* routed;
};

void PrintTo(const RoutingRow& row, std::ostream* out) {
  *out << row.name;
}

class Routing : public ::testing::TestWithParam<RoutingRow> {
 protected:
  /// Both ways to ask give the same answer.
  void expectRouting(const std::string& baseDn) const {
    RecordingActor actor(baseDn);
    const std::string dn = GetParam().dn;
    dirclient::NormalDn name;
    name.normalize(dn.data(), dn.size(), schemaInitialized);
    const bool decidedByBase = GetParam().routed == nullptr;
    EXPECT_EQ(filesOf(actor, GetParam().dn), decidedByBase ? allFiles : ownFiles);
    Names files;
    for (const std::string* file : actor.getOutputFilename(name)) {
      files.push_back(*file);
    }
    EXPECT_EQ(files, decidedByBase ? allFiles : ownFiles);
    EXPECT_EQ(actor.routed,
              decidedByBase ? Names() : Names({GetParam().routed, GetParam().routed}));
  }
};

TEST_P(Routing, ByTheNormalisedBaseDn) {
  expectRouting("OU=B,OU=A,O=C");
}

TEST_P(Routing, ByAnotherSpellingOfTheBaseDn) {
  expectRouting(" ou = b;OU=A , o=c");
}

INSTANTIATE_TEST_SUITE_P(
    Rows, Routing,
    ::testing::Values(RoutingRow{"BaseDn", "OU=B,OU=A,O=C", nullptr},
                      RoutingRow{"BaseDnInAnotherSpelling", "ou = b, ou=a ,o=c", nullptr},
                      RoutingRow{"ParentOfTheBaseDn", "OU=A,O=C", nullptr},
                      RoutingRow{"SuffixOfTheBaseDn", "o=c", nullptr},
                      RoutingRow{"Child", "cn=x,ou=b,ou=a,o=c", "CN=X,OU=B,OU=A,O=C"},
                      RoutingRow{"Grandchild", "CN=Y,CN=X,OU=B,OU=A,O=C",
                                 "CN=Y,CN=X,OU=B,OU=A,O=C"},
                      RoutingRow{"Sibling", "ou=d,ou=a,o=c", "OU=D,OU=A,O=C"},
                      RoutingRow{"OtherSuffix", "o=d", "O=D"},
                      RoutingRow{"TailOfTheTextOnly", "u=a,o=c", "U=A,O=C"},
                      RoutingRow{"NoDn", "no dn", ""}),
    [](const ::testing::TestParamInfo<RoutingRow>& row) { return row.param.name; });

TEST(LdifActor, EachCallReturnsANewList) {
  RecordingActor actor("O=C");
  const std::unique_ptr<Names> first(actor.getOutputFilename("O=C"));
  const std::unique_ptr<Names> second(actor.getOutputFilename("O=C"));
  EXPECT_NE(first.get(), second.get());
  first->clear();
  EXPECT_EQ(*second, allFiles);
  EXPECT_EQ(actor.getOutputFiles(), allFiles);
}

TEST(LdifActor, BaseDnIsNormalisedByTheSchemaInUse) {
  inFreshProcess([] {
    loadSchema(
        "attributetype ( 2.5.4.10 NAME 'o' EQUALITY caseExactMatch\n"
        " SYNTAX 1.3.6.1.4.1.1466.115.121.1.15 )\n");
    RecordingActor actor("o=c");
    EXPECT_EQ(filesOf(actor, "O=C"), allFiles);
    schemaInitialized = true;
    EXPECT_EQ(filesOf(actor, "o = c"), allFiles);
    EXPECT_EQ(filesOf(actor, "O=C"), ownFiles);
    schemaInitialized = false;
    EXPECT_EQ(filesOf(actor, "O=C"), allFiles);
  });
}

class InputPass : public ::testing::Test {
 protected:
  static constexpr const char* content = "dn: cn=a,o=c\ncn: a\n\ndn: cn=b,o=c\ncn: b\n";

  TemporaryDirectory directory_;
  RecordingActor actor_{"O=C"};
};

constexpr const char* InputPass::content;

TEST_F(InputPass, LdifIterateActivates) {
  actor_.ldifIterate(directory_.write("in.ldif", content));
  EXPECT_TRUE(actor_.isActivated());
  EXPECT_EQ(actor_.entries, 0);
}

TEST_F(InputPass, IsNotRunWhereTheActorDoesNotAskForIt) {
  EXPECT_NO_THROW(actor_.ldifIterate(directory_.path("missing.ldif")));
  EXPECT_TRUE(actor_.isActivated());
}

TEST_F(InputPass, IsRunWhereTheActorAsksForIt) {
  actor_.askForInputPass();
  try {
    actor_.ldifIterate(directory_.path("missing.ldif"));
    FAIL() << "no exception";
  } catch (const LdifIterateException& failure) {
    EXPECT_EQ(failure.line(), 0);
    EXPECT_EQ(failure.message(), "Error opening input file");
  }
  EXPECT_TRUE(actor_.isActivated());
}

TEST_F(InputPass, MissingFileThrows) {
  try {
    actor_.doLdifIterate(directory_.path("missing.ldif"));
    FAIL() << "no exception";
  } catch (const InputFileException& failure) {
    EXPECT_NE(dynamic_cast<const LdifIterateException*>(&failure), nullptr);
    EXPECT_EQ(failure.line(), 0);
    EXPECT_EQ(failure.message(), "Error opening input file");
  }
  EXPECT_FALSE(actor_.isActivated());
}

TEST_F(InputPass, SeesNoEntry) {
  actor_.askForInputPass();
  actor_.ldifIterate(directory_.write("in.ldif", content));
  actor_.doLdifIterate(directory_.path("in.ldif"));
  EXPECT_EQ(actor_.entries, 0);
  EXPECT_TRUE(actor_.routed.empty());
}

TEST_F(InputPass, MeetsNoInvalidLine) {
  EXPECT_NO_THROW(actor_.doLdifIterate(directory_.write("in.ldif", "no ldif\n")));
}

class GetNextLine : public ::testing::Test {
 protected:
  void open(const std::string& content) {
    input_.reset(std::fopen(directory_.write("in", content).c_str(), "r"));
    ASSERT_NE(input_, nullptr);
  }

  TemporaryDirectory directory_;
  AutoClose input_;
  char storage_[8] = "before";
  char* buffer_ = storage_;
  unsigned int capacity_ = sizeof storage_;
};

TEST_F(GetNextLine, ReturnsTheLengthWithTheLineFeed) {
  open("abc\n\nde");
  EXPECT_EQ(getNextLine(&buffer_, &capacity_, input_.get()), 4);
  EXPECT_STREQ(buffer_, "abc\n");
  EXPECT_EQ(getNextLine(&buffer_, &capacity_, input_.get()), 1);
  EXPECT_STREQ(buffer_, "\n");
  EXPECT_EQ(getNextLine(&buffer_, &capacity_, input_.get()), 2);
  EXPECT_STREQ(buffer_, "de");
  EXPECT_EQ(getNextLine(&buffer_, &capacity_, input_.get()), -1);
}

TEST_F(GetNextLine, DoesNotEnlargeTheBuffer) {
  open("0123456789\n");
  EXPECT_EQ(getNextLine(&buffer_, &capacity_, input_.get()), 7);
  EXPECT_STREQ(buffer_, "0123456");
  EXPECT_EQ(buffer_, storage_);
  EXPECT_EQ(capacity_, sizeof storage_);
}

TEST_F(GetNextLine, WithoutRoomNothingIsRead) {
  open("abc\n");
  capacity_ = 0;
  EXPECT_EQ(getNextLine(&buffer_, &capacity_, input_.get()), -1);
  EXPECT_STREQ(buffer_, "before");
  EXPECT_EQ(std::fgetc(input_.get()), 'a');
}

TEST_F(GetNextLine, EmptyFileHasNone) {
  open("");
  EXPECT_EQ(getNextLine(&buffer_, &capacity_, input_.get()), -1);
}

TEST_F(GetNextLine, LengthEndsAtANul) {
  open(std::string("a\0b\n", 4));
  EXPECT_EQ(getNextLine(&buffer_, &capacity_, input_.get()), 1);
}

}  // namespace
