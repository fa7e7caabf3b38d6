#include "platform/messages/PrintMessage.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

#include "platform/messages/MessageReceiver.h"
#include "platform/messages/catalog.h"
#include "platform/text/escape.h"

namespace {

constexpr int maximalPlaces = 9;
constexpr char severityOfUnknown = 'E';

std::string& errorFile() {
  static std::string name;
  return name;
}

MessageReceiver& receiverOfMessages() {
  static MessageReceiver receiver;
  return receiver;
}

/// The text with its places filled; a place reads %N$s.
void appendText(std::string& line, std::string_view text, const char* const* arguments, int count) {
  for (std::string_view::size_type i = 0; i < text.size(); ++i) {
    if (text[i] != '%' || i + 3 >= text.size()) {
      line += text[i];
      continue;
    }
    const int place = text[i + 1] - '0';
    if (place >= 1 && place <= count && arguments[place - 1] != nullptr) {
      text::appendOnOneLine(arguments[place - 1], line);
    }
    i += 3;
  }
}

}  // namespace

void printMessageWithArguments(int set, int number, const char* const* arguments, int count) {
  const CatalogMessage* message = findMessage(set, number);
  const char severity = message != nullptr ? message->severity : severityOfUnknown;

  std::string text;
  if (message != nullptr) {
    appendText(text, message->text, arguments, count);
  } else {
    for (int i = 0; i < count; ++i) {
      text += i == 0 ? "" : " ";
      text::appendOnOneLine(arguments[i] != nullptr ? arguments[i] : "", text);
    }
  }

  if (receiverOfMessages() != nullptr) {
    Message received{set, number, severity, {}, text};
    for (int i = 0; i < count; ++i) {
      received.arguments.emplace_back(arguments[i] != nullptr ? arguments[i] : "");
    }
    receiverOfMessages()(received);
    return;
  }

  std::array<char, 40> identifier{};
  std::snprintf(identifier.data(), identifier.size(), "VNL%03d%03d%c:", set, number, severity);
  std::string line = identifier.data();
  if (message != nullptr || count > 0) {
    line += ' ';
  }
  line += text;
  line += '\n';

  std::FILE* stream = severity == 'I' ? stdout : stderr;
  std::fwrite(line.data(), 1, line.size(), stream);
  std::fflush(stream);
}

void receiveMessages(MessageReceiver receiver) {
  receiverOfMessages() = std::move(receiver);
}

void PrintMessage(int set, int /*one*/, int number, ...) {
  const CatalogMessage* message = findMessage(set, number);
  const int count = message != nullptr ? message->argumentCount : 0;
  std::array<const char*, maximalPlaces> arguments{};
  va_list list;
  va_start(list, number);
  for (int i = 0; i < count && i < maximalPlaces; ++i) {
    arguments[static_cast<std::size_t>(i)] = va_arg(list, const char*);
  }
  va_end(list);
  printMessageWithArguments(set, number, arguments.data(), count);
}

void write_g_errorFile(const char* name) {
  errorFile() = name != nullptr ? name : "";
}

const char* read_g_errorFile() {
  return errorFile().c_str();
}
