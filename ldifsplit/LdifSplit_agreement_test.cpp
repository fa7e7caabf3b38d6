// The split does what the plain one does, whatever the sizes of the pieces in which its input
// arrives, and wherever in the block an entry stands. And where the output takes no more, it stops
// at the line that it would stop at if it wrote line by line.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "actors/CryptoActor.h"
#include "actors/HashActor.h"
#include "ldifsplit/LdifSplit.h"
#include "testsupport/CapturedOutput.h"
#include "testsupport/TemporaryDirectory.h"
#include "testsupport/plainSplit.h"

namespace {

/// How many bytes the next read may return; without one, as many as it likes.
std::function<std::size_t()> pieceSize;

/// What becomes of the bytes behind the first of so many.
enum class Refusal { none, once, forever };
Refusal refusal = Refusal::none;
std::size_t bytesTaken = 0;

}  // namespace

extern "C" {

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)
std::size_t __real_fwrite(const void* data, std::size_t size, std::size_t count, std::FILE* stream);
ssize_t __real_read(int file, void* buffer, std::size_t size);

/// Takes what still has room, and so a part of what it says it did not write, as a stream does.
std::size_t __wrap_fwrite(const void* data, std::size_t size, std::size_t count,
                          std::FILE* stream) {
  if (refusal == Refusal::none) {
    return __real_fwrite(data, size, count, stream);
  }
  const std::size_t taken = std::min(size * count, bytesTaken);
  bytesTaken -= taken;
  EXPECT_EQ(__real_fwrite(data, 1, taken, stream), taken);
  if (taken < size * count && refusal == Refusal::once) {
    refusal = Refusal::none;
  }
  return taken / size;
}

ssize_t __wrap_read(int file, void* buffer, std::size_t size) {
  return __real_read(file, buffer, pieceSize ? std::min(size, pieceSize()) : size);
}
// NOLINTEND(bugprone-reserved-identifier)

}  // extern "C"

namespace {

class Agreement : public ::testing::Test {
 protected:
  Agreement() {
    servers_["O=X"] = {path("x1"), path("x2"), path("x3")};
    servers_["OU=IN,O=X"] = {path("in1"), path("x2")};
    servers_["DC=Y"] = {path("y1")};
    std::vector<std::string> all = {path("in1"), path("x1"), path("x2"), path("x3"), path("y1")};
    for (const auto& base : servers_) {
      std::vector<ServerPairs> servers;
      for (const std::string& file : base.second) {
        servers.push_back({{"url", "ldap://h"}, {"file", file}});
      }
      add(base.first, new HashActor(base.first, servers));
    }
    add(cryptoDN, new CryptoActor(cryptoDN, all));
  }
  ~Agreement() override {
    pieceSize = nullptr;
    refusal = Refusal::none;
  }

  std::string path(const std::string& name) const { return directory_.path(name); }

  SplitOutcome split(const std::string& input) {
    for (const std::string& name : names_) {
      ::unlink(name.c_str());
    }
    const std::string file = directory_.write("input", input);
    SplitOutcome outcome;
    const CapturedOutput printed = captured([&] {
      try {
        ldifsplit::ldifSplit(file, actors_, path("default"), "", 0);
      } catch (const ldifsplit::LdifSplitException& stop) {
        outcome.kind = SplitOutcome::splitException;
        outcome.line = stop.line();
        outcome.message = stop.message();
      } catch (const ldifsplit::SplitOutputException& stop) {
        outcome.kind = SplitOutcome::outputException;
        outcome.line = stop.line();
        outcome.message = stop.message();
      }
    });
    std::fflush(nullptr);
    outcome.isReported = printed.err.find("VNL032033E: ") != std::string::npos;
    for (const std::string& name : names_) {
      if (::access(name.c_str(), F_OK) == 0) {
        outcome.files[name] = directory_.read(name.substr(name.rfind('/') + 1));
      }
    }
    return outcome;
  }

  void expectAgreement(const std::string& input) {
    const SplitOutcome wanted = plainSplit(input, servers_, path("default"), 0);
    const SplitOutcome actual = split(input);
    EXPECT_EQ(actual.kind, wanted.kind);
    EXPECT_EQ(actual.line, wanted.line);
    EXPECT_EQ(actual.message, wanted.message);
    EXPECT_EQ(actual.isReported, wanted.isReported);
    EXPECT_TRUE(actual.files == wanted.files);
  }

  TemporaryDirectory directory_;

 private:
  void add(const std::string& baseDn, LdifActor* actor) {
    owned_.emplace_back(actor);
    actors_[baseDn] = actor;
    for (const std::string& name : actor->getOutputFiles()) {
      names_.push_back(name);
    }
    names_.push_back(path("default"));
  }

  ServerFiles servers_;
  std::vector<std::string> names_;
  std::map<std::string, LdifActor*> actors_;
  std::vector<std::unique_ptr<LdifActor>> owned_;
};

/// Entries of every kind, with all that may stand in them.
class RandomEntries {
 public:
  explicit RandomEntries(unsigned int seed) : random_(seed) {}

  std::string next(std::size_t entries) {
    std::string input = oneOf({"", "version: 1\n\n", "# export\n"});
    for (; entries > 0; --entries) {
      input += dnLine();
      for (auto lines = random_() % 8; lines > 0; --lines) {
        input += line();
      }
      input += oneOf({"\n", "\n", "\n", "", "\r\n", "\n\n"});
    }
    return input + oneOf({"", "", "sn: no line end"});
  }

  std::size_t pieceSize() {
    const std::size_t sizes[] = {1, 2, 3, 17, 63, 64, 65, 500, 4095, 4096, 100000};
    return sizes[random_() % 11];
  }

 private:
  std::string dnLine() {
    const std::string number = std::to_string(random_() % 1000);
    return oneOf({"dn: ", "dn: ", "dn: ", "dn: ", "dn:", "dn:  "}) +
           oneOf({"cn=a", "CN=B ", "cn=c\\,d", "cn=e+sn=f", "cn=\xc3\xa9", "ou=in", "o=x"}) +
           number +
           oneOf({",o=x", ",O = X", ",ou=in,o=x", ",dc=y", ",cn=localhost", ",o=z", "\n ,o=x",
                  ",ou=a+l=b,o=x"}) +
           oneOf({"\n", "\n", "\n", "\r\n"});
  }

  std::string line() {
    switch (random_() % 12) {
      case 0:
        return "description: folded\n once\n  and again\n";
      case 1:
        return "photo:: AAAA\n BBBB\n CC==\n";
      case 2:
        return "# a comment\n with a fold\n";
      case 3:
        return "cn;lang-en: " + std::string(random_() % 200, 'x') + "\n";
      case 4:
        return "url:< file:///x\n";
      case 5:
        return "long: " + std::string(4080 + random_() % 20, 'l') + "\n";
      case 6:
        return random_() % 60 == 0 ? "no colon\n" : "empty:\n";
      case 7:
        return "1.2.3: carriage return\r\n";
      case 8:
        return random_() % 8 == 0 ? std::string("nul: a\0b\n", 9) : std::string("\0dropped\n", 9);
      default:
        return "objectClass: " + std::string(random_() % 30, 'o') + "\n";
    }
  }

  std::string oneOf(const std::vector<std::string>& texts) {
    return texts[random_() % texts.size()];
  }

  std::mt19937 random_;
};

TEST_F(Agreement, OfRandomInputsInPiecesOfEverySize) {
  RandomEntries random(2849);
  for (int round = 0; round < 400; ++round) {
    const std::string input = random.next(1 + static_cast<std::size_t>(round) % 40);
    const std::size_t size = random.pieceSize();
    pieceSize = [size] { return size; };
    ASSERT_NO_FATAL_FAILURE(expectAgreement(input)) << round;
    if (HasFailure()) {
      FAIL() << "round " << round << ", pieces of " << size << " bytes, input:\n" << input;
    }
  }
}

/// The input is read in blocks of 256 kB: an entry is moved byte by byte across the end of the
/// first.
TEST_F(Agreement, OfAnEntryAtEveryPlaceAtTheEndOfABlock) {
  const std::string entry =
      "\ndn: cn=a,o=x\nsn: x\nphoto:: AAAA\n BB==\ncn: folded\n once\n# c\nsn: y\n\ndn: o=x\nsn: z\n";
  const std::size_t block = std::size_t{256} * 1024;
  for (std::size_t before = 0; before <= entry.size() + 2; ++before) {
    std::string input = "dn: cn=filler,o=x\n";
    while (input.size() + 2000 < block - before) {
      input += "filler: " + std::string(1000, 'f') + "\n";
    }
    input += "filler: " + std::string(block - before - input.size() - 9, 'f') + "\n";
    ASSERT_EQ(input.size(), block - before);
    expectAgreement(input + entry);
    ASSERT_FALSE(HasFailure()) << before;
  }
}

/// One entry in one file, with the number of the line of the input that each byte of the output
/// belongs to.
struct Output {
  void add(const std::string& bytes, int line) {
    content += bytes;
    lines.insert(lines.end(), bytes.size(), line);
  }

  std::string content;
  std::vector<int> lines;
};

class RefusedBytes : public Agreement {
 protected:
  static constexpr std::size_t headerSize = 12;

  RefusedBytes() {
    const auto attribute = [this](const std::string& line, int number) {
      input_ += line;
      output_.add(line, number);
    };
    input_ = "version: 1\n\ndn: cn=a,dc=y\n";
    output_.add("\ndn: cn=a,dc=y\n", 3);
    attribute("sn: a\n", 4);
    attribute("cn: folded\n once\n twice\n", 7);
    attribute("photo:: AAAA\n BBBB\n", 9);
    input_ += "# a comment\n";
    attribute("sn: b\n", 11);
    attribute("sn;x: c\n", 12);
    const std::string piece(4095, 'p');
    attribute("long: x\n " + piece.substr(1), 14);
    attribute("pieceOfLong: x\n", 15);
    attribute("sn: d\n", 16);
  }

  std::string input_;
  Output output_;
};

TEST_F(RefusedBytes, NothingIsRefused) {
  const SplitOutcome outcome = split(input_);
  EXPECT_EQ(outcome.kind, SplitOutcome::finished);
  EXPECT_EQ(outcome.files.at(path("y1")), "version: 1\n\n" + output_.content);
}

TEST_F(RefusedBytes, StopTheSplitAtTheLineOfTheFirstOfThem) {
  for (std::size_t taken = 0;
       taken<output_.content.size(); taken += taken> 150 && taken < 4200 ? 97 : 1) {
    refusal = Refusal::forever;
    bytesTaken = headerSize + taken;
    const SplitOutcome outcome = split(input_);
    ASSERT_EQ(outcome.kind, SplitOutcome::outputException) << taken;
    ASSERT_EQ(outcome.line, output_.lines[taken]) << taken;
    ASSERT_EQ(outcome.message, path("y1"));
    ASSERT_EQ(outcome.files.at(path("y1")), "version: 1\n\n" + output_.content.substr(0, taken));
  }
}

/// A file that refuses bytes once and takes all others. Only the line feed of a "dn" line is looked
/// at: what is lost of the two pieces before it stays lost, and the split goes on.
TEST_F(RefusedBytes, OfAPieceOfTheDnLineAreLostWhereTheNextPieceIsTaken) {
  const std::string start = "\ndn: ";
  const std::string dn = "cn=a,dc=y";
  const std::string rest = output_.content.substr(start.size() + dn.size());
  for (std::size_t taken = 0; taken < start.size() + dn.size(); ++taken) {
    refusal = Refusal::once;
    bytesTaken = headerSize + taken;
    const SplitOutcome outcome = split(input_);
    ASSERT_EQ(outcome.kind, SplitOutcome::finished) << taken;
    const std::string written = taken < start.size() ? start.substr(0, taken) + dn
                                                     : start + dn.substr(0, taken - start.size());
    ASSERT_EQ(outcome.files.at(path("y1")), "version: 1\n\n" + written + rest) << taken;
  }
}

/// An entry of several files goes out line by line, so that the files are alike when one refuses.
TEST_F(RefusedBytes, OfOneOfSeveralFilesLeaveTheOthersAtTheSameLine) {
  const std::string input = "dn: o=x\nsn: one\nsn: two\nsn: three\n";
  const std::string before = "version: 1\n\n\ndn: o=x\nsn: one\n";
  refusal = Refusal::forever;
  bytesTaken = 3 * before.size() + 8 + 3;  // "sn: two" in the first file, and "sn:" in the second
  const SplitOutcome outcome = split(input);
  EXPECT_EQ(outcome.kind, SplitOutcome::outputException);
  EXPECT_EQ(outcome.line, 3);
  EXPECT_EQ(outcome.message, path("x2"));
  EXPECT_EQ(outcome.files.at(path("x1")), before + "sn: two\n");
  EXPECT_EQ(outcome.files.at(path("x2")), before + "sn:");
  EXPECT_EQ(outcome.files.at(path("x3")), before);
}

}  // namespace
