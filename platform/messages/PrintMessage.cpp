#include "platform/messages/PrintMessage.h"

#include <array>
#include <cstdarg>
#include <cstddef>
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
constexpr std::size_t severityAt = 9;  // VNLsssnnnI

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

/// The text of a message with its arguments; of one that the catalog does not have, these alone.
std::string textOf(const CatalogMessage* message, const char* const* arguments, int count) {
  std::string text;
  if (message != nullptr) {
    appendText(text, message->text, arguments, count);
    return text;
  }
  for (int i = 0; i < count; ++i) {
    text += i == 0 ? "" : " ";
    text::appendOnOneLine(arguments[i] != nullptr ? arguments[i] : "", text);
  }
  return text;
}

char severityOf(const CatalogMessage* message) {
  return message != nullptr ? message->severity : severityOfUnknown;
}

}  // namespace

std::string messageLineOf(int set, int number, const char* const* arguments, int count) {
  const CatalogMessage* message = findMessage(set, number);
  std::array<char, 40> identifier{};
  std::snprintf(identifier.data(), identifier.size(), "VNL%03d%03d%c:", set, number,
                severityOf(message));
  std::string line = identifier.data();
  if (message != nullptr || count > 0) {
    line += ' ';
  }
  return line + textOf(message, arguments, count);
}

std::string messageTextOf(int set, int number, const char* const* arguments, int count) {
  return textOf(findMessage(set, number), arguments, count);
}

void printMessageLine(const std::string& line) {
  const bool isInformation = line.size() > severityAt && line[severityAt] == 'I';
  std::FILE* stream = isInformation ? stdout : stderr;
  static_cast<void>(std::fwrite((line + '\n').data(), 1, line.size() + 1, stream));
  std::fflush(stream);
}

void printMessageWithArguments(int set, int number, const char* const* arguments, int count) {
  if (receiverOfMessages() == nullptr) {
    printMessageLine(messageLineOf(set, number, arguments, count));
    return;
  }
  const CatalogMessage* message = findMessage(set, number);
  Message received{set, number, severityOf(message), {}, textOf(message, arguments, count)};
  for (int i = 0; i < count; ++i) {
    received.arguments.emplace_back(arguments[i] != nullptr ? arguments[i] : "");
  }
  receiverOfMessages()(received);
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
