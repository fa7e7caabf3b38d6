#include "admin/LargestSubtree.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

namespace {

/// Beside the true counts.
class Counted {
 public:
  explicit Counted(std::size_t counters) : subtree_(counters) {}

  void add(const std::string& name, std::uint64_t bytes) {
    subtree_.addEntry(name.data(), name.size());
    subtree_.addBytes(bytes);
    ++truth_[name].entries;
    truth_[name].bytes += bytes;
  }

  LargestSubtree::Answer answer() const { return subtree_.answer(); }

  /// What is said holds of the true counts.
  void check() const {
    const LargestSubtree::Answer said = answer();
    const Tally& named = truth_.at(said.name);
    EXPECT_LE(said.least.entries, named.entries);
    EXPECT_GE(said.most.entries, named.entries);
    EXPECT_LE(said.least.bytes, named.bytes);
    EXPECT_GE(said.most.bytes, named.bytes);
    for (const auto& other : truth_) {
      if (other.first != said.name) {
        EXPECT_LE(other.second.bytes, said.bytesOfOthers) << other.first;
      }
    }
  }

  std::string trulyLargest() const {
    std::string largest;
    std::uint64_t most = 0;
    for (const auto& each : truth_) {
      if (each.second.bytes > most) {
        largest = each.first;
        most = each.second.bytes;
      }
    }
    return largest;
  }

 private:
  LargestSubtree subtree_;
  std::map<std::string, Tally> truth_;
};

TEST(LargestSubtree, ThereMayBeNone) {
  const LargestSubtree::Answer answer = LargestSubtree(8).answer();
  EXPECT_EQ(answer.name, "");
  EXPECT_EQ(answer.bytesOfOthers, 0U);
}

TEST(LargestSubtree, AsManySubtreesAsCountersAreExact) {
  Counted counted(50);
  for (int turn = 0; turn < 20; ++turn) {
    for (int i = 0; i < 50; ++i) {
      counted.add("OU=" + std::to_string(i), static_cast<std::uint64_t>(i == 17 ? 1000 : i));
    }
  }
  const LargestSubtree::Answer answer = counted.answer();
  EXPECT_TRUE(answer.isExact());
  EXPECT_EQ(answer.name, "OU=17");
  EXPECT_EQ(answer.least.entries, 20U);
  EXPECT_EQ(answer.most.entries, 20U);
  EXPECT_EQ(answer.least.bytes, 20000U);
  EXPECT_EQ(answer.bytesOfOthers, 20U * 49);
}

TEST(LargestSubtree, OneMoreIsStillBounded) {
  Counted counted(10);
  for (int i = 0; i < 11; ++i) {
    counted.add("OU=" + std::to_string(i), static_cast<std::uint64_t>(100 + i));
  }
  counted.check();
  EXPECT_FALSE(counted.answer().isExact());
}

TEST(LargestSubtree, WhatIsSaidHoldsWhateverTheOrder) {
  for (unsigned int seed = 0; seed < 200; ++seed) {
    std::mt19937 random(seed);
    Counted counted(2 + random() % 40);
    const unsigned int names = 1 + static_cast<unsigned int>(random() % 200);
    for (int i = 0; i < 2000; ++i) {
      // The squares have few large names and many small ones.
      const unsigned long number = random() % names * (random() % names) / names;
      counted.add("CN=" + std::to_string(number), random() % 500);
    }
    counted.check();
    if (counted.answer().isExact()) {
      EXPECT_EQ(counted.answer().name, counted.trulyLargest()) << seed;
    }
  }
}

TEST(LargestSubtree, LargeOneStaysExactAmongManySmallOnes) {
  Counted counted(100);
  for (int i = 0; i < 20000; ++i) {
    counted.add("OU=SMALL" + std::to_string(i), 10);
    if (i % 2 == 0) {
      counted.add("OU=LARGE", 10);
    }
  }
  counted.check();
  const LargestSubtree::Answer answer = counted.answer();
  EXPECT_TRUE(answer.isExact());
  EXPECT_EQ(answer.name, "OU=LARGE");
  EXPECT_EQ(answer.least.entries, 10000U);
}

TEST(LargestSubtree, LongNamesWithOneBeginningAreToldApart) {
  Counted counted(10);
  const std::string beginning(1000, 'x');
  counted.add(beginning + "1", 5);
  counted.add(beginning + "2", 7);
  counted.add(beginning + "2", 7);
  const LargestSubtree::Answer answer = counted.answer();
  EXPECT_EQ(answer.least.bytes, 14U);
  EXPECT_EQ(answer.bytesOfOthers, 5U);
  EXPECT_EQ(answer.name, std::string(256, 'x'));
}

}  // namespace
