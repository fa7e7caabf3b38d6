#include "ldifsplit/SplitObserver.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ldifsplit/LdifSplit.h"
#include "testsupport/TemporaryDirectory.h"

namespace {

using ldifsplit::SplitRecord;
using ldifsplit::UnusableLine;

/// Everything below its base DN goes to two files, the base DN too.
class TwoFiles : public LdifActor {
 public:
  TwoFiles(const std::string& base, const std::vector<std::string>& files) : LdifActor(base, {}) {
    outputFiles = files;
  }

 private:
  std::vector<std::string>* doGetOutputFilename(const std::string& /*dn*/) override {
    return new std::vector<std::string>(outputFiles);
  }
  void receiveEntry(const LdifEntry& /*entry*/) override {}
};

/// Writes down what it sees.
class Notes : public ldifsplit::SplitObserver {
 public:
  void startsRecord(const SplitRecord& record) override {
    text +=
        "<" + std::to_string(record.line) + " " + std::string(record.dn, record.dnSize) + " " +
        record.normalDn.text() + " " +
        (record.baseDn == ldifsplit::BaseDnIndex::none ? "none" : std::to_string(record.baseDn)) +
        " " + std::to_string(record.files.size()) + ">";
  }
  void wrote(const char* bytes, std::size_t size) override { text.append(bytes, size); }
  bool goesOnBehind(const UnusableLine& line) override {
    text += "[" + std::to_string(line.number) + (line.isDn ? " dn " : " line ") +
            std::string(line.text, line.size) + "]";
    return goesOn;
  }

  std::string text;
  bool goesOn = true;
};

class Observed : public ::testing::Test {
 protected:
  void split(const std::string& input, ldifsplit::SplitObserver& observer) {
    directory_.write("in.ldif", input);
    TwoFiles one("O=A", {path("one"), path("two")});
    TwoFiles other("O=B", {path("three")});
    ldifsplit::ldifSplit(path("in.ldif"), {{"O=A", &one}, {"O=B", &other}}, path("rest"), observer);
  }
  std::string path(const std::string& name) const { return directory_.path(name); }
  std::string read(const std::string& name) const { return directory_.read(name); }

 private:
  TemporaryDirectory directory_;
};

TEST_F(Observed, EachRecordAndItsBytesOnceInTheOrderOfTheInput) {
  Notes notes;
  split(
      "version: 1\n\n"
      "dn: cn=x,o=b\nsn: 1\n 2\n# left out\nsn: 3\n\n"
      "dn:: Y249eSxvPWE=\nsn: 4\n\n"
      "dn: cn=z,o=c\n",
      notes);
  EXPECT_EQ(notes.text,
            "<3 cn=x,o=b CN=X,O=B 1 1>\ndn: cn=x,o=b\nsn: 1\n 2\nsn: 3\n"
            "<9 cn=y,o=a CN=Y,O=A 0 2>\ndn: cn=y,o=a\nsn: 4\n"
            "<12 cn=z,o=c CN=Z,O=C none 1>\ndn: cn=z,o=c\n");
  EXPECT_EQ(read("one"), "version: 1\n\n\ndn: cn=y,o=a\nsn: 4\n");
  EXPECT_EQ(read("two"), read("one"));
  EXPECT_EQ(read("three"), "version: 1\n\n\ndn: cn=x,o=b\nsn: 1\n 2\nsn: 3\n");
  EXPECT_EQ(read("rest"), "version: 1\n\n\ndn: cn=z,o=c\n");
}

TEST_F(Observed, LinesOfARecordWithoutAUsableDnGoNowhere) {
  Notes notes;
  split("dn: cn=x,o=b\nsn: 1\n\ndn: nonsense\nsn: lost\n\ndn: cn=y,o=b\nsn: 2\n", notes);
  EXPECT_EQ(notes.text,
            "<1 cn=x,o=b CN=X,O=B 1 1>\ndn: cn=x,o=b\nsn: 1\n"
            "[4 dn nonsense]"
            "<7 cn=y,o=b CN=Y,O=B 1 1>\ndn: cn=y,o=b\nsn: 2\n");
  EXPECT_EQ(read("three"), "version: 1\n\n\ndn: cn=x,o=b\nsn: 1\n\ndn: cn=y,o=b\nsn: 2\n");
}

TEST_F(Observed, ALineThatCannotBeParsedIsLeftOut) {
  Notes notes;
  split("dn: cn=x,o=b\nno colon\nsn: 1\n", notes);
  EXPECT_EQ(notes.text, "<1 cn=x,o=b CN=X,O=B 1 1>\ndn: cn=x,o=b\n[2 line no colon\n]sn: 1\n");
  EXPECT_EQ(read("three"), "version: 1\n\n\ndn: cn=x,o=b\nsn: 1\n");
}

TEST_F(Observed, ADnThatIsCutByANulIsLeftOutWithItsLines) {
  Notes notes;
  split(std::string("dn: cn=x,o=b\nsn: 1\n\ndn: cn=\0y,o=b\nsn: 2\n", 40), notes);
  EXPECT_EQ(read("three"), "version: 1\n\n\ndn: cn=x,o=b\nsn: 1\n");
}

TEST_F(Observed, AnObserverThatDoesNotGoOnLeavesTheFailureAsItIs) {
  Notes notes;
  notes.goesOn = false;
  try {
    split("dn: nonsense\n", notes);
    ADD_FAILURE() << "no exception";
  } catch (const ldifsplit::LdifSplitException& failure) {
    EXPECT_EQ(failure.line(), 1);
    EXPECT_EQ(failure.message(), "Invalid LDIF line detected");
  }
}

/// Writes down the lines that are read in pieces.
class Pieces : public ldifsplit::SplitObserver {
 public:
  void readsInPieces(int line) override { lines.push_back(line); }

  std::vector<int> lines;
};

TEST_F(Observed, OfEachOverlongLineItsFirstPieceIsTold) {
  const std::string start = "sn: " + std::string(4091, 'x');  // as long as a piece
  Pieces pieces;
  split("dn: cn=x,o=b\n"                        // line 1
            + start.substr(1) + "\n"            // 2: its line end is the last byte that fits
            + start + "\n"                      // 3, and the line end as 4
            + start + "a: 1\n"                  // 5 and 6
            + "b: 2\n"                          // 7
            + start + start + start + "c: 3\n"  // 8 to 11
            + start + " joined\n"               // 12 and 13, one logical line
            + " folded\n"                       // 14
            + "d: y\n " + start.substr(1) + " joined\n"  // 15; 16 and 17
            + "e: 4\n",                                  // 18
        pieces);
  EXPECT_EQ(pieces.lines, (std::vector<int>{3, 5, 8, 12, 16}));
}

TEST_F(Observed, ALastLineAsLongAsAPieceIsNotReadInPieces) {
  Pieces pieces;
  const std::string line = "sn: " + std::string(4091, 'x');
  split("dn: cn=x,o=b\n" + line, pieces);
  EXPECT_EQ(pieces.lines, std::vector<int>{});
}

/// Reads from another file than the one that is named, and writes to others.
class Elsewhere : public ldifsplit::SplitObserver {
 public:
  explicit Elsewhere(const TemporaryDirectory& directory) : directory_(directory) {}

  AutoClose openInput(const std::string& /*name*/) override {
    return AutoClose(std::fopen(directory_.path("other.ldif").c_str(), "r"));
  }
  std::FILE* openOutput(const std::string& name, char* buffer, std::size_t size) override {
    return SplitObserver::openOutput(name + ".new", buffer, size);
  }

 private:
  const TemporaryDirectory& directory_;
};

TEST_F(Observed, TheObserverOpensTheFiles) {
  const TemporaryDirectory directory;
  directory.write("other.ldif", "dn: cn=other,o=b\n");
  Elsewhere elsewhere(directory);
  split("dn: cn=x,o=b\n", elsewhere);
  EXPECT_EQ(read("three.new"), "version: 1\n\n\ndn: cn=other,o=b\n");
  EXPECT_EQ(read("three"), "(no file)");
}

}  // namespace
