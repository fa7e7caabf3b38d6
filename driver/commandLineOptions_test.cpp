#include "driver/commandLineOptions.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>

namespace {

TEST(CommandLineOptions, OptionString) {
  // By hand: scripts that call the program rely on these letters and on which take an argument.
  EXPECT_EQ(optionString(), ":f:rd:I:");
}

TEST(CommandLineOptions, SlotsAreInTheOrderOfTheTable) {
  std::size_t slot = 0;
  for (const CommandLineOption& option : commandLineOptions) {
    EXPECT_EQ(slotOf(option.letter), slot) << option.letter;
    ++slot;
  }
}

TEST(CommandLineOptions, EachHasAMeaningADefaultAndWhatItsArgumentNeeds) {
  std::set<char> letters;
  for (const CommandLineOption& option : commandLineOptions) {
    EXPECT_TRUE(letters.insert(option.letter).second) << option.letter << " stands twice";
    EXPECT_STRNE(option.meaning, "") << option.letter;
    EXPECT_STRNE(option.defaultText, "") << option.letter;
    const bool takesArgument = option.argumentName != nullptr;
    EXPECT_EQ(std::strlen(option.completion) != 0, takesArgument) << option.letter;
  }
}

}  // namespace
