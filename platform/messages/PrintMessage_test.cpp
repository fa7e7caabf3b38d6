#include "platform/messages/PrintMessage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "platform/messages/MessageReceiver.h"
#include "platform/messages/catalog.h"
#include "testsupport/CapturedOutput.h"

void PrintTo(const CatalogMessage& message, std::ostream* out) {
  *out << message.set << '/' << message.number;
}

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

std::string nameOf(const CatalogMessage& message) {
  return "Set" + std::to_string(message.set) + "Number" + std::to_string(message.number);
}

class CatalogRow : public ::testing::TestWithParam<CatalogMessage> {};

TEST_P(CatalogRow, UsesEachOfItsPlacesAndNoOther) {
  const std::string text = GetParam().text;
  std::set<int> places;
  for (std::string::size_type at = text.find('%'); at != std::string::npos;
       at = text.find('%', at + 1)) {
    ASSERT_LT(at + 3, text.size());
    ASSERT_EQ(text.substr(at + 2, 2), "$s") << text.substr(at);
    places.insert(text[at + 1] - '0');
  }
  std::set<int> expected;
  for (int i = 1; i <= GetParam().argumentCount; ++i) {
    expected.insert(i);
  }
  EXPECT_EQ(places, expected);
}

TEST_P(CatalogRow, FormatsWithItsArgumentsOnTheStreamOfItsSeverity) {
  const char* const arguments[] = {"<first>",  "<second>", "<third>",
                                   "<fourth>", "<fifth>",  "<sixth>"};
  const CatalogMessage message = GetParam();
  ASSERT_LE(message.argumentCount, 6);
  const CapturedOutput output = captured([&] {
    printMessageWithArguments(message.set, message.number, arguments, message.argumentCount);
  });
  const std::string& used = message.severity == 'I' ? output.out : output.err;
  const std::string& other = message.severity == 'I' ? output.err : output.out;
  char identifier[16];
  std::snprintf(identifier, sizeof identifier, "VNL%03d%03d%c: ", message.set, message.number,
                message.severity);
  EXPECT_THAT(used, StartsWith(identifier));
  EXPECT_EQ(used.back(), '\n');
  EXPECT_EQ(other, "");
  for (int i = 0; i < message.argumentCount; ++i) {
    EXPECT_THAT(used, HasSubstr(arguments[i]));
  }
}

INSTANTIATE_TEST_SUITE_P(Catalog, CatalogRow,
                         ::testing::ValuesIn(messageCatalog().begin(), messageCatalog().end()),
                         [](const auto& row) { return nameOf(row.param); });

TEST(PrintMessage, FillsThePlacesInTheTextsOrder) {
  const CapturedOutput output = captured([] { PrintMessage(32, 1, 48, "logfile", "7"); });
  EXPECT_THAT(output.err, StartsWith("VNL032048E: Configuration file, line 7: \"logfile\""));
}

TEST(PrintMessage, VariadicFormTakesAsManyArgumentsAsTheCatalogHas) {
  void (*variadic)(int, int, int, ...) = PrintMessage;
  const CapturedOutput output = captured([&] { variadic(32, 1, 1, "my.conf"); });
  EXPECT_EQ(output.out, "VNL032001I: Configuration file: my.conf\n");
}

TEST(PrintMessage, NumberWithoutTextPrintsIdentifierAndArguments) {
  const CapturedOutput output = captured([] { PrintMessage(32, 1, 999, "a", "b"); });
  EXPECT_EQ(output.err, "VNL032999E: a b\n");
  EXPECT_EQ(output.out, "");
}

TEST(PrintMessage, NullArgumentPrintsAsNothing) {
  const char* nothing = nullptr;
  const CapturedOutput output = captured([&] { PrintMessage(32, 1, 1, nothing); });
  EXPECT_EQ(output.out, "VNL032001I: Configuration file: \n");
}

TEST(PrintMessage, PercentSignsInAnArgumentAreText) {
  const CapturedOutput output = captured([] { PrintMessage(32, 1, 1, "%1$s%n%s"); });
  EXPECT_EQ(output.out, "VNL032001I: Configuration file: %1$s%n%s\n");
}

TEST(PrintMessage, LineEndsInAnArgumentDoNotBreakTheLine) {
  const CapturedOutput output = captured([] { PrintMessage(32, 1, 1, "a\nVNL032039I: b\x7f"); });
  EXPECT_EQ(output.out, "VNL032001I: Configuration file: a\\0AVNL032039I: b\\7F\n");
}

TEST(MessageReceiver, TakesWhatTheStreamsWouldGetUntilItIsTakenBack) {
  std::vector<Message> received;
  const CapturedOutput output = captured([&] {
    receiveMessages([&](const Message& message) { received.push_back(message); });
    PrintMessage(32, 1, 8, "a\nb");
    PrintMessage(32, 1, 39);
    PrintMessage(99, 1, 1, "what", "ever");
    receiveMessages(nullptr);
    PrintMessage(32, 1, 1, "file");
  });
  EXPECT_EQ(output.out, "VNL032001I: Configuration file: file\n");
  EXPECT_EQ(output.err, "");
  ASSERT_EQ(received.size(), 3U);
  EXPECT_EQ(received[0].number, 8);
  EXPECT_EQ(received[0].severity, 'E');
  EXPECT_THAT(received[0].arguments, ElementsAre("a\nb"));
  EXPECT_THAT(received[0].text, HasSubstr("a\\0Ab"));
  EXPECT_EQ(received[1].set, 32);
  EXPECT_EQ(received[1].severity, 'I');
  EXPECT_THAT(received[1].arguments, ElementsAre());
  EXPECT_EQ(received[2].text, "what ever");
}

TEST(ErrorFile, IsRegisteredByNameAndNotWritten) {
  write_g_errorFile("some.log");
  EXPECT_STREQ(read_g_errorFile(), "some.log");
  EXPECT_EQ(std::fopen("some.log", "r"), nullptr);
  write_g_errorFile(nullptr);
  EXPECT_STREQ(read_g_errorFile(), "");
}

}  // namespace
