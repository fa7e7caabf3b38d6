// Prints every message of the catalog:
//
//   print_message_list         messages.md, for an administrator who looks one up
//   print_message_list --json  the catalog as it stands, for the tests of the whole program

#include <cstdio>
#include <string>

#include "platform/messages/catalog.h"

namespace {

/// The text with its places %1$s to %9$s written as <1> to <9>, and every line after the first
/// indented.
std::string readable(const std::string& text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%') {
      result += '<';
      result += text[i + 1];
      result += '>';
      i += 3;
    } else {
      result += text[i];
      if (text[i] == '\n') {
        result += "    ";
      }
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
      "Set 032 is of the tool, set 033 of the instance and its schema.");
  for (const CatalogMessage& message : messageCatalog()) {
    std::printf("\n## VNL%03d%03d%c (%s)\n\n    %s\n", message.set, message.number,
                message.severity, kindOf(message.severity), readable(message.text).c_str());
  }
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
  if (argc > 1 && std::string(argv[1]) == "--json") {
    printForPrograms();
  } else {
    printForReaders();
  }
  return std::fflush(stdout) == 0 ? 0 : 1;
}
