#include "testsupport/messageLine.h"

#include "platform/messages/PrintMessage.h"
#include "testsupport/CapturedOutput.h"

std::string messageLine(int number, const std::vector<std::string>& arguments) {
  std::vector<const char*> texts;
  texts.reserve(arguments.size());
  for (const std::string& argument : arguments) {
    texts.push_back(argument.c_str());
  }
  const CapturedOutput output = captured(
      [&] { printMessageWithArguments(32, number, texts.data(), static_cast<int>(texts.size())); });
  return output.out + output.err;
}
