// Prints the messages that the user reads. Their texts stand in the catalog; a call names one by
// its number. Apart from traces, nothing else prints text.
#ifndef PLATFORM_MESSAGES_PRINTMESSAGE_H
#define PLATFORM_MESSAGES_PRINTMESSAGE_H

#include <string>

/// Prints one message as one line: "VNL", set and number in three digits each, the severity letter,
/// ": " and the text with the arguments in its places. Severity I goes to standard output, W and E
/// to standard error; the stream is flushed. Line ends and other control bytes in an argument are
/// shown as `\` and two hexadecimal digits, so that a message stays one line (only the usage text
/// has several).
///
/// `one` is always 1 and is not looked at. The further arguments are all `const char*`, as many as
/// the catalog says for the message. Of a number that the catalog does not have, this function can
/// only print the identifier.
void PrintMessage(int set, int one, int number, ...);

/// Prints a message as PrintMessage does. The caller says how many arguments there are, so a number
/// that the catalog does not have prints its identifier and its arguments. A place in the text
/// whose argument is missing or a null pointer stays empty.
void printMessageWithArguments(int set, int number, const char* const* arguments, int count);

/// The line that printMessageWithArguments() prints, without its line end.
std::string messageLineOf(int set, int number, const char* const* arguments, int count);

/// Its text alone, with the arguments in their places: for what a terminal shows otherwise than in
/// lines of messages.
std::string messageTextOf(int set, int number, const char* const* arguments, int count);

/// Prints such a line on the stream of its severity.
void printMessageLine(const std::string& line);

/// A call with arguments takes this form instead of the first one: here the compiler checks that
/// each argument is a `const char*`.
template <typename... More>
void PrintMessage(int set, int /*one*/, int number, const char* first, More... more) {
  const char* const arguments[] = {first, more...};
  printMessageWithArguments(set, number, arguments, 1 + static_cast<int>(sizeof...(more)));
}

/// messageTextOf() with arguments that are all `const char*`, as PrintMessage takes them.
template <typename... Arguments>
std::string messageText(int set, int /*one*/, int number, Arguments... arguments) {
  const char* const list[] = {arguments..., nullptr};
  return messageTextOf(set, number, list, static_cast<int>(sizeof...(arguments)));
}

/// Registers the name of the error file; a null pointer registers none. No message is written to
/// that file: its only lines are the failing line numbers that the driver appends.
void write_g_errorFile(const char* name);

/// The registered error file's name, or an empty text. Valid until the next write_g_errorFile.
const char* read_g_errorFile();

#endif
