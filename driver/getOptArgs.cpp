#include "driver/getOptArgs.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "common/AutoDelete.h"
#include "platform/messages/PrintMessage.h"
#include "platform/trace/trace.h"

namespace {

constexpr char argumentMark = ':';

/// What getopt returns next. Each call gets a fresh copy of the option string.
int nextOption(int argc, char** argv, const std::string& optionString) {
  const AutoDelete<char> copy(new char[optionString.size() + 1]);
  std::copy_n(optionString.c_str(), optionString.size() + 1, copy.get());
  return ::getopt(argc, argv, copy.get());
}

std::string requireArgument(char letter, int messageSet, int missingArgumentMessage) {
  std::string argument = optarg != nullptr ? optarg : "";
  if (IsArgOption(argument) || argument.empty()) {
    TRACE(traceError, "Error: option -%c requires an argument.\n", letter);
    PrintMessage(messageSet, 1, missingArgumentMessage, std::string(1, letter).c_str());
    std::exit(1);
  }
  return argument;
}

}  // namespace

std::vector<std::string> getOptArgs(int argc, char** argv, std::string optionString, int messageSet,
                                    int usageMessage, int missingArgumentMessage) {
  const std::string program = getBasename(argc > 0 ? argv[0] : "");
  const auto marks = std::count(optionString.begin(), optionString.end(), argumentMark);
  std::vector<std::string> arguments(optionString.size() - static_cast<std::size_t>(marks));
  // Where this variable is set, getopt stops at the first operand.
  ::unsetenv("POSIXLY_CORRECT");

  for (int option = 0; (option = nextOption(argc, argv, optionString)) != -1;) {
    TRACE(traceProgress, "Next optflag: %c\n", option);
    TRACE(traceProgress, "Next optarg: %s\n", optarg != nullptr ? optarg : "");
    if (option == '?') {
      TRACE(traceError, "Printing tool options:\n");
      PrintMessage(messageSet, 1, usageMessage, program.c_str());
      std::exit(0);
    }
    std::size_t slot = 0;
    for (std::size_t i = 0; i < optionString.size(); ++i) {
      const char letter = optionString[i];
      if (letter == argumentMark) {
        continue;
      }
      if (letter == option) {
        const bool takesArgument =
            i + 1 < optionString.size() && optionString[i + 1] == argumentMark;
        arguments[slot] =
            takesArgument ? requireArgument(letter, messageSet, missingArgumentMessage) : "true";
      }
      ++slot;
    }
  }
  return arguments;
}

bool IsArgOption(const std::string& text) {
  return !text.empty() && text.front() == '-';
}

std::string getBasename(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}
