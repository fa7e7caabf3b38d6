#include "actors/AncestorWalk.h"

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "actors/LdifEntry.h"
#include "actors/normalizeDn.h"
#include "testsupport/FreshProcess.h"
#include "testsupport/LoadedSchema.h"

namespace {

/// The DN as written, then each ancestor as getParent yields it.
std::vector<std::string> byGetParent(const std::string& dn) {
  std::vector<std::string> way = {dn};
  std::unique_ptr<std::string> parent(nLdifActor::getParent(dn));
  while (parent != nullptr) {
    way.push_back(*parent);
    parent.reset(nLdifActor::getParent(*parent));
  }
  return way;
}

std::vector<std::string> byWalk(const std::string& dn) {
  dirclient::NormalDn start;
  start.normalize(dn.data(), dn.size(), schemaInitialized);
  AncestorWalk walk(start);
  std::vector<std::string> way;
  do {
    way.emplace_back(walk.data(), walk.size());
    EXPECT_TRUE(walk.isAt(way.back()));
    EXPECT_FALSE(walk.isAt(way.back() + ","));
    EXPECT_FALSE(walk.isAt(way.back().empty() ? "x" : way.back().substr(1)));
  } while (walk.up());
  // A walk that has ended stays where it is.
  EXPECT_FALSE(walk.up());
  EXPECT_TRUE(walk.isAt(way.back()));
  return way;
}

struct WalkRow {
  const char* name;
  const char* dn;
  std::vector<std::string> way;
};

void PrintTo(const WalkRow& row, std::ostream* out) {
  *out << row.name;
}

class WalkFrom : public ::testing::TestWithParam<WalkRow> {};

TEST_P(WalkFrom, VisitsTheAncestors) {
  const std::string dn = GetParam().dn;
  EXPECT_EQ(byWalk(dn), GetParam().way);
  EXPECT_EQ(byGetParent(GetParam().way.front()), GetParam().way);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, WalkFrom,
    ::testing::Values(
        WalkRow{"NormalForm", "CN=A,OU=B,O=C", {"CN=A,OU=B,O=C", "OU=B,O=C", "O=C"}},
        WalkRow{"OtherSpelling", "cn=a , ou=b;o=c", {"CN=A,OU=B,O=C", "OU=B,O=C", "O=C"}},
        WalkRow{"OneRdn", "O=C", {"O=C"}}, WalkRow{"Empty", "", {""}},
        WalkRow{"NoDn", "no,dn", {""}}, WalkRow{"NoDnButForItsEnd", "CN=A,O=C,", {""}},
        WalkRow{"EscapedComma", "CN=A\\,B,O=C", {"CN=A\\,B,O=C", "O=C"}},
        WalkRow{"EscapedBackslash", "CN=A\\\\,O=C", {"CN=A\\\\,O=C", "O=C"}},
        WalkRow{"EscapedBackslashAndComma",
                "CN=A\\\\\\,B,OU=D,O=C",
                {"CN=A\\\\\\,B,OU=D,O=C", "OU=D,O=C", "O=C"}},
        WalkRow{"EscapedPlus", "CN=A\\+B,O=C", {"CN=A\\+B,O=C", "O=C"}},
        WalkRow{"Quotes", "CN=\"A,B\",O=C", {"CN=A\\,B,O=C", "O=C"}},
        WalkRow{"HexEscapeOfAComma", "CN=A\\2CB,O=C", {"CN=A\\,B,O=C", "O=C"}},
        WalkRow{
            "MultiValuedFirst", "CN=A+SN=B,OU=D,O=C", {"CN=A+SN=B,OU=D,O=C", "OU=D,O=C", "O=C"}},
        WalkRow{
            "MultiValuedMiddle", "CN=X,L=B+OU=A,O=C", {"CN=X,L=B+OU=A,O=C", "L=BOU=A,O=C", "O=C"}},
        WalkRow{"MultiValuedLast", "CN=X,L=B+OU=A", {"CN=X,L=B+OU=A", "L=BOU=A"}}),
    [](const ::testing::TestParamInfo<WalkRow>& row) { return row.param.name; });

/// Texts that are DNs more often than not.
class RandomDn {
 public:
  explicit RandomDn(unsigned int seed) : random_(seed) {}

  std::string next() {
    std::string dn;
    const int rdns = below(6) + 1;
    for (int i = 0; i < rdns; ++i) {
      dn += i == 0 ? "" : oneOf({",", ",", ",", ";", " , "});
      dn += rdn();
    }
    if (below(20) == 0) {
      dn.insert(static_cast<std::size_t>(below(static_cast<int>(dn.size()) + 1)),
                oneOf({",", "+", "\\", "\"", "=", "#", " "}));
    }
    return dn;
  }

 private:
  std::string rdn() {
    std::string text = ava();
    while (below(6) == 0) {
      text += oneOf({"+", " + "}) + ava();
    }
    return text;
  }

  std::string ava() {
    const std::string type = oneOf({"CN", "cn", "OU", "o", "2.5.4.3", "oid.2.5.4.3", "x-a"});
    return type + oneOf({"=", "=", " = "}) + value();
  }

  std::string value() {
    switch (below(8)) {
      case 0:
        return "\"" + oneOf({"A,B", "a+b;c", " A ", "A\\\"B", ""}) + "\"";
      case 1:
        return oneOf({"#0401", "#04", "#", "#A", "#0401 "});
      default: {
        std::string text;
        for (int pieces = below(4); pieces > 0; --pieces) {
          text +=
              oneOf({"A",        "b",        "Jo",   "\\,",  "\\+", "\\\\", "\\2C", "\\2c", "\\5C",
                     "\\ ",      "\\20",     "\\0A", "\\00", " ",   "  ",   "=",    "\\#",  "<",
                     "\\C3\\A9", "\xc3\xa9", "\xff", "\\\"", "\\;", "1.2",  "\\41"});
        }
        return text;
      }
    }
  }

  std::string oneOf(const std::vector<std::string>& texts) {
    return texts[static_cast<std::size_t>(below(static_cast<int>(texts.size())))];
  }

  int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }

  std::mt19937 random_;
};

/// Attributes that compare exactly, as DNs and as numbers, and one that has another first name.
const char* const schemaText =
    "attributetype ( 2.5.4.3 NAME ( 'cn' 'commonName' ) EQUALITY caseIgnoreMatch\n"
    " SYNTAX 1.3.6.1.4.1.1466.115.121.1.15 )\n"
    "attributetype ( 2.5.4.10 NAME ( 'organizationName' 'o' ) EQUALITY caseExactMatch\n"
    " SYNTAX 1.3.6.1.4.1.1466.115.121.1.15 )\n"
    "attributetype ( 2.5.4.11 NAME 'ou' EQUALITY distinguishedNameMatch\n"
    " SYNTAX 1.3.6.1.4.1.1466.115.121.1.12 )\n"
    "attributetype ( 1.2.3 NAME 'x-a' EQUALITY integerMatch\n"
    " SYNTAX 1.3.6.1.4.1.1466.115.121.1.27 )\n";

class RandomWalks : public ::testing::TestWithParam<bool> {
 protected:
  /// Runs `call` in a process of its own, with the schema loaded where the row asks for it.
  void run(void (*call)()) const {
    inFreshProcess([&] {
      if (GetParam()) {
        loadSchema(schemaText);
        schemaInitialized = true;
        std::string dn = "o=Ab";
        ASSERT_EQ(nLdifActor::normalizeDn(dn), "ORGANIZATIONNAME=Ab");
      }
      call();
    });
  }
};

TEST_P(RandomWalks, AgreeWithRepeatedCallsOfGetParent) {
  run([] {
    RandomDn dns(20240131);
    int usable = 0;
    int deep = 0;
    for (int i = 0; i < 20000; ++i) {
      const std::string dn = dns.next();
      std::string normal = dn;
      usable += nLdifActor::normalizeDn(normal).empty() ? 0 : 1;
      ASSERT_EQ(byWalk(dn), byGetParent(normal)) << dn;
      deep += byGetParent(dn).size() > 3 ? 1 : 0;
    }
    // The texts are worth the walk.
    EXPECT_GT(usable, 10000);
    EXPECT_GT(deep, 3000);
  });
}

TEST_P(RandomWalks, HasAncestorAndHasParentAgreeWithRepeatedCallsOfGetParent) {
  run([] {
    RandomDn dns(4711);
    for (int i = 0; i < 5000; ++i) {
      const std::string dn = dns.next();
      LdifEntry entry;
      entry.setName(dn);
      const std::vector<std::string> way = byGetParent(entry.getName());
      for (std::size_t step = 0; step < way.size(); ++step) {
        ASSERT_EQ(entry.hasParent(way[step].c_str()), step == 1) << dn << " below " << way[step];
        ASSERT_EQ(entry.hasAncestor(way[step].c_str()), step >= 1) << dn << " below " << way[step];
      }
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Schema, RandomWalks, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& row) {
                           return row.param ? "Initialized" : "None";
                         });

}  // namespace
