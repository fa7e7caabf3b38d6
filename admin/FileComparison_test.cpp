#include "admin/FileComparison.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "testsupport/TemporaryDirectory.h"

namespace {

using Entries = std::vector<std::string>;
using Counts = std::map<std::string, std::uint64_t>;

const std::string header = "version: 1\n\n";

std::string entry(const std::string& dn, const std::string& value = "x") {
  return "\ndn: " + dn + "\nvalue: " + value + " of " + dn + "\n";
}

Entries people(int first, int count) {
  Entries entries;
  for (int i = first; i < first + count; ++i) {
    entries.push_back(entry("cn=" + std::to_string(i) + ",o=example"));
  }
  return entries;
}

/// Entries that no split would put there.
Entries strangers(int count) {
  Entries entries;
  for (int i = 0; i < count; ++i) {
    entries.push_back(entry("cn=" + std::to_string(i) + ",o=elsewhere"));
  }
  return entries;
}

std::string textOf(const Entries& entries) {
  std::string text;
  for (const std::string& each : entries) {
    text += each;
  }
  return text;
}

Entries joined(Entries first, const Entries& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

Entries part(const Entries& all, std::size_t first, std::size_t end) {
  return Entries(all.begin() + static_cast<std::ptrdiff_t>(first),
                 all.begin() + static_cast<std::ptrdiff_t>(end));
}

/// A file of one server, which all entries below o=example belong in. Little of it is looked at at
/// a time, so that a few entries are many.
class FileComparisonTest : public ::testing::Test {
 protected:
  static constexpr std::size_t capacity = 256;
  static constexpr std::size_t window = 4;

  FileComparisonTest() : config_("unread", false) {
    config_.baseDNSections_["O=EXAMPLE"] = {
        {{"url", "ldap://host"}, {"file", directory_.path("one.ldif")}}, {{"", ""}, {"", ""}}};
    config_.splitTypes_["O=EXAMPLE"] = VarnelConfig::splitByHash;
    config_.defaultOutputFile_ = directory_.path("rest.ldif");
  }

  /// How many differences of each kind there are, from the file to what should stand in it.
  Counts compare(const Entries& expected, const std::string& content) {
    return compare(expected, content, false);
  }

  Counts compare(const Entries& expected, const std::string& content, bool headerAlone) {
    const std::string name = directory_.write("one.ldif", content);
    const Routing routing(config_);
    const std::vector<std::string> names{name};
    Differences differences(1000);
    Unsettled unsettled(differences, routing, names);
    ComparisonContext context{differences,         unsettled, routing,
                              KeyedHash::newKey(), capacity,  window};
    FileComparison comparison(context, 0, name, headerAlone);
    std::int64_t line = 3;
    for (const std::string& each : expected) {
      const std::string dn = each.substr(5, each.find('\n', 5) - 5);
      unsettled.names().add(RecentNames::hash(dn.data(), dn.size()));
      comparison.begins(line, dn.data(), dn.size());
      // As the engine writes: not an entry at a time.
      const std::size_t half = each.size() / 2;
      comparison.takes(each.data(), half);
      comparison.takes(each.data() + half, each.size() - half);
      comparison.ends();
      line += std::count(each.begin(), each.end(), '\n');
    }
    comparison.finish();
    unsettled.settle();
    kept_ = differences.kept();
    Counts counts;
    for (std::size_t i = 0; i < Difference::kinds; ++i) {
      const auto kind = static_cast<Difference::Kind>(i);
      if (differences.count(kind) > 0) {
        counts[nameOf(kind)] = differences.count(kind);
      }
    }
    return counts;
  }

  Counts compare(const Entries& expected, const Entries& found) {
    return compare(expected, header + textOf(found));
  }

  TemporaryDirectory directory_;
  VarnelConfig config_;
  std::vector<Difference> kept_;  // of the last comparison
};

const std::string missing = nameOf(Difference::missing);
const std::string foreign = nameOf(Difference::foreign);
const std::string changed = nameOf(Difference::changed);
const std::string doubled = nameOf(Difference::doubled);
const std::string truncated = nameOf(Difference::truncated);
const std::string wrongHeader = nameOf(Difference::header);

TEST_F(FileComparisonTest, FindsNothingInARightFile) {
  const Entries entries =
      joined(people(0, 20), {entry("cn=large,o=example", std::string(5000, 'x'))});
  EXPECT_EQ(compare(joined(entries, people(20, 3)), joined(entries, people(20, 3))), Counts());
}

TEST_F(FileComparisonTest, AgreesAgainBehindMoreStrangersThanItLooksAheadAt) {
  const Entries all = people(0, 200);
  const Entries begin = part(all, 0, 5);
  for (const int strange : {1, 5, 30, 100}) {
    const Entries found = joined(joined(begin, strangers(strange)), part(all, 5, 200));
    EXPECT_EQ(compare(all, found), (Counts{{foreign, strange}})) << strange;
  }
}

TEST_F(FileComparisonTest, AgreesAgainBehindMoreLostOnesThanItLooksAheadAt) {
  const Entries all = people(0, 200);
  for (const std::size_t lost : {1U, 5U, 20U, 30U}) {
    const Entries found = joined(part(all, 0, 5), part(all, 5 + lost, 200));
    EXPECT_EQ(compare(all, found), (Counts{{missing, lost}})) << lost;
  }
}

TEST_F(FileComparisonTest, TellsStrangersBehindTheLastOnes) {
  const Entries all = people(0, 8);
  for (const int strange : {1, 4, 50}) {
    EXPECT_EQ(compare(all, joined(all, strangers(strange))), (Counts{{foreign, strange}}));
    // Nothing agrees, and in the end there is more than it looks ahead at.
    EXPECT_EQ(compare(part(all, 0, 2), strangers(strange + 2)),
              (Counts{{missing, 2}, {foreign, strange + 2}}));
    EXPECT_EQ(compare(part(all, 0, 3), joined(joined({all[0]}, strangers(strange)), {all[2]})),
              (Counts{{missing, 1}, {foreign, strange}}));
  }
}

TEST_F(FileComparisonTest, TellsTheLinesOfALargeEntry) {
  std::string lines;
  for (int i = 0; i < 400; ++i) {
    lines += "line: " + std::to_string(i) + "\n";
  }
  const Entries all =
      joined(joined(people(0, 2), {"\ndn: cn=large,o=example\n" + lines}), people(2, 2));
  const std::string right = header + textOf(all);
  for (const int number : {0, 1, 77, 398, 399}) {
    const std::string line = "\nline: " + std::to_string(number) + "\n";
    std::string content = right;
    const std::size_t at = content.find(line);
    content[at + 1] = 'L';
    EXPECT_EQ(compare(all, content), (Counts{{changed, 1}})) << number;
    EXPECT_EQ(
        kept_.at(0).line,
        std::count(content.begin(), content.begin() + static_cast<std::ptrdiff_t>(at) + 1, '\n') +
            1);
    // The file ends there: this entry and the two behind it are not whole.
    EXPECT_EQ(compare(all, right.substr(0, at + 3)), (Counts{{missing, 2}, {truncated, 1}}))
        << number;
  }
}

TEST_F(FileComparisonTest, ReadsOverWhateverStandsInPlaceOfTheHeader) {
  const Entries all = people(0, 3);
  const std::string right = textOf(all);
  std::string lines;
  for (int i = 0; i < 200; ++i) {
    lines += "no header\n";
  }
  for (const std::string& other :
       {std::string(), std::string("x"), std::string("version: 2\n\n"), std::string("\n"),
        std::string(5 * capacity, 'x') + "\n", lines, "\n" + lines}) {
    EXPECT_EQ(compare(all, other + right), (Counts{{wrongHeader, 1}})) << other;
  }
  EXPECT_EQ(compare(all, right.substr(1)), (Counts{{wrongHeader, 1}}));
  EXPECT_EQ(compare(all, lines), (Counts{{wrongHeader, 1}, {missing, 3}, {truncated, 1}}));
}

TEST_F(FileComparisonTest, WithoutEntriesTheFileIsEmpty) {
  EXPECT_EQ(compare({}, "", false), Counts());
  EXPECT_EQ(compare({}, header, true), Counts());
  EXPECT_EQ(compare({}, header, false), (Counts{{wrongHeader, 1}}));
  EXPECT_EQ(compare({}, "other", true), (Counts{{wrongHeader, 1}}));
  EXPECT_EQ(compare({}, header + textOf(strangers(3)), false), (Counts{{foreign, 3}}));
  EXPECT_EQ(compare({}, textOf(strangers(3)), false), (Counts{{wrongHeader, 1}, {foreign, 3}}));
}

TEST_F(FileComparisonTest, CountsMoreThanItKeepsBehindTheEndOfTheFile) {
  const int lost = 33000;
  EXPECT_EQ(compare(people(0, lost), header), (Counts{{missing, lost}, {truncated, 1}}));
}

/// Removes a block of the entries, puts strangers or a copy of it in, or turns it round.
void damage(Entries& entries, std::mt19937& random) {
  const auto below = [&](std::size_t end) { return random() % end; };
  const std::size_t first = below(entries.size());
  const std::size_t end = std::min(entries.size(), first + 1 + below(40));
  const auto begin = entries.begin() + static_cast<std::ptrdiff_t>(first);
  const auto behind = entries.begin() + static_cast<std::ptrdiff_t>(end);
  const auto place = entries.begin() + static_cast<std::ptrdiff_t>(below(entries.size()));
  const Entries block(begin, behind);
  const Entries others = strangers(static_cast<int>(block.size()));
  switch (below(4)) {
    case 0:
      entries.erase(begin, behind);
      break;
    case 1:
      entries.insert(place, others.begin(), others.end());
      break;
    case 2:
      entries.insert(place, block.begin(), block.end());
      break;
    default:
      std::reverse(begin, behind);
      break;
  }
}

TEST_F(FileComparisonTest, LosesSightOfNoEntry) {
  const Entries all = people(0, 160);
  for (unsigned seed = 0; seed < 100; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    Entries found = all;
    for (unsigned damages = 1 + seed % 3; damages > 0; --damages) {
      damage(found, random);
    }
    Counts counts = compare(all, found);
    EXPECT_EQ(counts.empty(), found == all);
    // Each that is expected is found, or told of, and so is each that is found.
    EXPECT_EQ(all.size() - counts[missing], found.size() - counts[foreign] - counts[doubled]);
    EXPECT_EQ(counts[changed] + counts[wrongHeader], 0U);
  }
}

}  // namespace
