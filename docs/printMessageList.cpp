// Prints every message of the catalog:
//
//   print_message_list         messages.md, for an administrator who looks one up
//   print_message_list --page  the same as a man page in mdoc, varnel-messages(7)
//   print_message_list --json  the catalog as it stands, for the tests of the whole program

#include <cstddef>
#include <cstdio>
#include <sstream>
#include <string>

#include "platform/messages/catalog.h"

namespace {

/// The text with its places %1$s to %9$s written as <1> to <9>.
std::string withReadablePlaces(const std::string& text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%') {
      result += '<';
      result += text[i + 1];
      result += '>';
      i += 3;
    } else {
      result += text[i];
    }
  }
  return result;
}

/// The same with every line after the first indented.
std::string readable(const std::string& text) {
  std::string result;
  for (const char c : withReadablePlaces(text)) {
    result += c;
    if (c == '\n') {
      result += "    ";
    }
  }
  return result;
}

const char* kindOf(char severity) {
  return severity == 'I' ? "information" : severity == 'W' ? "warning" : "error";
}

void printForReaders() {
  std::puts(
      "# Messages\n\n"
      "Every message begins with an identifier that never changes: `VNL`, the set, the number and a\n"
      "letter. `I` is information, on standard output; `W` a warning and `E` an error, on standard\n"
      "error. Where a text below has `<1>`, the message has the file, line or value in question.\n\n"
      "Set 032 is of the tool, set 033 of the instance and its schema. 75 to 81 of set 032 are the line\n"
      "and the table that a terminal shows, on standard error and without identifiers.");
  for (const CatalogMessage& message : messageCatalog()) {
    std::printf("\n## VNL%03d%03d%c (%s)\n\n    %s\n", message.set, message.number,
                message.severity, kindOf(message.severity), readable(message.text).c_str());
  }
}

/// A word as mdoc takes it: a `\` is written `\e`, and a minus sign stays one.
std::string inMdoc(const std::string& word) {
  std::string result;
  for (const char c : word) {
    if (c == '\\') {
      result += "\\e";
    } else if (c == '-') {
      result += "\\-";
    } else {
      result += c;
    }
  }
  return result;
}

/// A line that begins as a macro does, and is none.
void printLine(const std::string& line) {
  const bool looksLikeAMacro = !line.empty() && (line[0] == '.' || line[0] == '\'');
  std::printf("%s%s\n", looksLikeAMacro ? "\\&" : "", line.c_str());
}

bool endsASentence(const std::string& word) {
  const std::size_t last = word.find_last_not_of(")\"");
  return last != std::string::npos && std::string(".!?").find(word[last]) != std::string::npos;
}

/// In lines of moderate length, of which each sentence begins one.
void printWords(const std::string& text) {
  constexpr std::size_t widestLine = 78;
  std::istringstream words(text);
  std::string line;
  bool sentenceEnded = false;
  for (std::string word; words >> word;) {
    const std::string written = inMdoc(word);
    if (!line.empty() && (sentenceEnded || line.size() + 1 + written.size() > widestLine)) {
      printLine(line);
      line.clear();
    }
    line += (line.empty() ? "" : " ") + written;
    sentenceEnded = endsASentence(word);
  }
  printLine(line);
}

/// Of several lines, each stays one.
void printText(const std::string& text) {
  if (text.find('\n') == std::string::npos) {
    printWords(text);
    return;
  }
  std::istringstream lines(text);
  std::puts(".Bd -literal");
  for (std::string line; std::getline(lines, line);) {
    printLine(inMdoc(line));
  }
  std::puts(".Ed");
}

void printPage() {
  std::puts(
      ".Dd November 21, 2026\n"
      ".Dt VARNEL-MESSAGES 7\n"
      ".Os\n"
      ".Sh NAME\n"
      ".Nm varnel-messages\n"
      ".Nd what the messages of varnel say\n"
      ".Sh DESCRIPTION\n"
      "Every message begins with an identifier that never changes:\n"
      ".Ql VNL ,\n"
      "the set and the number in three digits each, and a letter.\n"
      "The letter\n"
      ".Ql I\n"
      "is information, on standard output;\n"
      ".Ql W\n"
      "a warning and\n"
      ".Ql E\n"
      "an error, on standard error.\n"
      "Set 032 is of the tool, set 033 of the instance and its schema.\n"
      "The messages 75 to 81 of set 032 are the line and the table that a terminal\n"
      "shows, on standard error and without identifiers.\n"
      ".Pp\n"
      "Where a text below has\n"
      ".Ql <1> ,\n"
      "the message has the file, line or value in question.\n"
      ".Bl -tag -width Ds");
  for (const CatalogMessage& message : messageCatalog()) {
    std::printf(".It VNL%03d%03d%c Pq %s\n", message.set, message.number, message.severity,
                kindOf(message.severity));
    printText(withReadablePlaces(message.text));
  }
  std::puts(".El\n.Sh SEE ALSO\n.Xr varnel 1");
}

std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '\n') {
      result += "\\n";
      continue;
    }
    if (c == '"' || c == '\\') {
      result += '\\';
    }
    result += c;
  }
  return result + '"';
}

void printForPrograms() {
  const char* separator = "[\n";
  for (const CatalogMessage& message : messageCatalog()) {
    std::printf(
        "%s{\"set\": %d, \"number\": %d, \"severity\": \"%c\", \"arguments\": %d, "
        "\"text\": %s}",
        separator, message.set, message.number, message.severity, message.argumentCount,
        quoted(message.text).c_str());
    separator = ",\n";
  }
  std::puts("\n]");
}

}  // namespace

int main(int argc, char** argv) {
  const std::string form = argc > 1 ? argv[1] : "";
  if (form == "--json") {
    printForPrograms();
  } else if (form == "--page") {
    printPage();
  } else {
    printForReaders();
  }
  return std::fflush(stdout) == 0 ? 0 : 1;
}
