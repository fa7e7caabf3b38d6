// The one door for texts that the user reads: messages leave through the catalog, by number.
#ifndef PLATFORM_MESSAGES_PRINTMESSAGE_H
#define PLATFORM_MESSAGES_PRINTMESSAGE_H

/// Prints one message as one line: "VNL", set and number in three digits each, the severity letter,
/// ": " and the text with the arguments in its places. Severity I goes to standard output, W and E
/// to standard error; the stream is flushed. Line ends and other control bytes in an argument are
/// shown as `\` and two hexadecimal digits, so that a message
/// stays one line (only the usage text has several).
///
/// `one` is always 1. The further arguments are all `const char*`, as many as the catalog has for
/// the message; a number without a text prints its identifier alone through this function.
void PrintMessage(int set, int one, int number, ...);

/// What PrintMessage does, with the arguments counted. A number without a text prints its
/// identifier and its arguments; a place without an argument prints as nothing.
void printMessageWithArguments(int set, int number, const char* const* arguments, int count);

/// The form that a call with arguments picks: the compiler checks that each is a `const char*`.
template <typename... More>
void PrintMessage(int set, int /*one*/, int number, const char* first, More... more) {
  const char* const arguments[] = {first, more...};
  printMessageWithArguments(set, number, arguments, 1 + static_cast<int>(sizeof...(more)));
}

/// Registers the error file by name; a null pointer takes the registration back. Nothing is written
/// to it here: its only lines are the failing line numbers that the driver appends.
void write_g_errorFile(const char* name);

/// The registered error file's name, or an empty text. Valid until the next write_g_errorFile.
const char* read_g_errorFile();

#endif
