#include "platform/schema/SupertypeChains.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace schema {

namespace {

constexpr std::size_t none = SupertypeChains::none;
constexpr std::size_t undefined = SupertypeChains::undefined;
using State = SupertypeChains::State;

std::vector<State> statesOf(const std::vector<std::size_t>& supertypes) {
  const SupertypeChains chains(supertypes);
  std::vector<State> states;
  for (std::size_t i = 0; i < supertypes.size(); ++i) {
    states.push_back(chains.state(i));
  }
  return states;
}

TEST(SupertypeChains, OfSingleTypes) {
  EXPECT_EQ(statesOf({}), std::vector<State>{});
  EXPECT_EQ(statesOf({none}), std::vector<State>{State::whole});
  EXPECT_EQ(statesOf({undefined}), std::vector<State>{State::cut});
  EXPECT_EQ(statesOf({0}), std::vector<State>{State::inCycle});
}

TEST(SupertypeChains, FaultsReachDownButNotUp) {
  EXPECT_EQ(statesOf({1, 2, none}), (std::vector<State>(3, State::whole)));
  EXPECT_EQ(statesOf({1, 2, undefined}),
            (std::vector<State>{State::belowFault, State::belowFault, State::cut}));
  EXPECT_EQ(statesOf({undefined, 0, 1, none, 3}),
            (std::vector<State>{State::cut, State::belowFault, State::belowFault, State::whole,
                                State::whole}));
}

TEST(SupertypeChains, OnlyTheMembersOfACycleAreInIt) {
  // 0 -> 1 -> 2 -> 3 -> 1, and 4 -> 2.
  EXPECT_EQ(statesOf({1, 2, 3, 1, 2}),
            (std::vector<State>{State::belowFault, State::inCycle, State::inCycle, State::inCycle,
                                State::belowFault}));
  // Two cycles.
  EXPECT_EQ(statesOf({1, 0, 3, 2}), (std::vector<State>(4, State::inCycle)));
}

TEST(SupertypeChains, TopDownHasEachWholeTypeOnceAfterItsSupertype) {
  std::mt19937 random(7);
  for (int round = 0; round < 200; ++round) {
    std::vector<std::size_t> supertypes(50);
    for (std::size_t& supertype : supertypes) {
      const std::size_t drawn = random() % 56;
      supertype = drawn < 50 ? drawn : drawn < 55 ? none : undefined;
    }
    const SupertypeChains chains(supertypes);
    std::vector<bool> seen(50, false);
    for (const std::size_t type : chains.topDown()) {
      EXPECT_EQ(chains.state(type), State::whole);
      EXPECT_FALSE(seen[type]);
      seen[type] = true;
      if (supertypes[type] != none) {
        EXPECT_TRUE(seen[supertypes[type]]);
      }
    }
    // A second way: a chain is whole when it ends within as many steps as there are types.
    for (std::size_t type = 0; type < 50; ++type) {
      std::size_t at = type;
      for (int step = 0; step < 51 && at != none && at != undefined; ++step) {
        at = supertypes[at];
      }
      EXPECT_EQ(seen[type], at == none);
    }
  }
}

TEST(SupertypeChains, OfAMillionLinksAreWalkedWithoutRecursion) {
  std::vector<std::size_t> supertypes(1000000);
  for (std::size_t i = 0; i < supertypes.size(); ++i) {
    supertypes[i] = i + 1 < supertypes.size() ? i + 1 : none;
  }
  EXPECT_EQ(SupertypeChains(supertypes).topDown().size(), supertypes.size());
  supertypes.back() = 0;
  EXPECT_EQ(SupertypeChains(supertypes).state(500000), State::inCycle);
}

}  // namespace

}  // namespace schema
