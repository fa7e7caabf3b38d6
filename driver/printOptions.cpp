// Prints what is made of the table of options while the program is built:
//
//   print_options usage       the C++ source of the usage text, platform/messages/usageText.h
//   print_options bash        the completion of the command line for bash
//   print_options zsh         the same for zsh
//   print_options fish        the same for fish
//   print_options table       a line for each option: letter, argument name (may be empty), meaning
//                             and default, separated by tabs; for the tests

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "driver/commandLineOptions.h"

namespace {

constexpr std::size_t widestLine = 79;

bool takesArgument(const CommandLineOption& option) {
  return option.argumentName != nullptr;
}

/// "-f FILE" or "-r".
std::string spelled(const CommandLineOption& option) {
  const std::string flag = std::string("-") + option.letter;
  return takesArgument(option) ? flag + " " + option.argumentName : flag;
}

/// The words of `text` in lines behind `firstIndent`, which all following lines are indented by in
/// blanks.
std::vector<std::string> wrapped(const std::string& firstIndent, const std::string& text) {
  std::vector<std::string> lines = {firstIndent};
  bool lineIsEmpty = true;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    if (!lineIsEmpty && lines.back().size() + 1 + word.size() > widestLine) {
      lines.emplace_back(firstIndent.size(), ' ');
      lineIsEmpty = true;
    }
    lines.back() += (lineIsEmpty ? "" : " ") + word;
    lineIsEmpty = false;
  }
  return lines;
}

/// The lines of the usage text. "%1$s" is the place of the program's name.
std::vector<std::string> usageLines() {
  std::string call = "Usage: %1$s";
  std::size_t widestOption = 0;
  for (const CommandLineOption& option : commandLineOptions) {
    call += " [" + spelled(option) + "]";
    widestOption = std::max(widestOption, spelled(option).size());
  }
  std::vector<std::string> lines = {
      call, "Splits the entries of one LDIF file over the LDIF files of back-end servers."};
  for (const CommandLineOption& option : commandLineOptions) {
    std::string head = "  " + spelled(option);
    head.resize(2 + widestOption + 2, ' ');
    const std::string text = std::string(option.meaning) + " (default: " + option.defaultText + ")";
    for (const std::string& line : wrapped(head, text)) {
      lines.push_back(line);
    }
  }
  for (const char* line :
       {"Exit status: 0 success, or this text; 1 failure; 2 failure of the "
        "split in",
        "lines 1 to 9 of the input or in no line of it.", "Version " VARNEL_VERSION "."}) {
    lines.emplace_back(line);
  }
  return lines;
}

std::string escapedForALiteral(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      escaped += '\\';
    }
    escaped += c;
  }
  return escaped;
}

void printUsage() {
  std::printf("#include \"platform/messages/usageText.h\"\n\nconst char usageText[] =");
  const char* separator = "\n";
  for (const std::string& line : usageLines()) {
    std::printf("%s    \"%s", separator, escapedForALiteral(line).c_str());
    separator = "\\n\"\n";
  }
  std::puts("\";");
}

/// What is offered for an option's argument: the text for files, the text for directories, or the
/// words between two texts.
std::string offered(const CommandLineOption& option, const char* files, const char* directories,
                    const char* before, const char* behind) {
  const std::string completion = option.completion;
  if (completion == "file") {
    return files;
  }
  if (completion == "directory") {
    return directories;
  }
  return before + completion + behind;
}

void printForBash() {
  std::puts(
      "# Completion of varnel's command line for bash.\n"
      "_varnel() {\n"
      "  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}\n"
      "  case $previous in");
  std::string letters;
  for (const CommandLineOption& option : commandLineOptions) {
    letters += std::string(letters.empty() ? "-" : " -") + option.letter;
    if (takesArgument(option)) {
      std::printf("    -%c) mapfile -t COMPREPLY < <(compgen %s -- \"$current\") ;;\n",
                  option.letter, offered(option, "-f", "-d", "-W '", "'").c_str());
    }
  }
  std::printf(
      "    *) mapfile -t COMPREPLY < <(compgen -W '%s' -- \"$current\") ;;\n"
      "  esac\n"
      "}\n"
      "complete -o filenames -F _varnel varnel\n",
      letters.c_str());
}

/// The text as it may stand between single quotation marks, each character of `special` behind a
/// `\`. The marks themselves are written as `'\''`, which both shells take.
std::string quoted(const std::string& text, const std::string& special) {
  std::string result = "'";
  for (const char c : text) {
    if (c == '\'') {
      result += "'\\''";
      continue;
    }
    if (special.find(c) != std::string::npos) {
      result += '\\';
    }
    result += c;
  }
  return result + "'";
}

void printForZsh() {
  std::puts("#compdef varnel\n# Completion of varnel's command line for zsh.\n_arguments -s -S \\");
  const char* separator = "";
  for (const CommandLineOption& option : commandLineOptions) {
    std::string word = std::string("-") + option.letter + "[";
    for (const char* c = option.meaning; *c != '\0'; ++c) {
      // Brackets end the meaning, and a colon would begin the argument.
      word += std::string("[]:\\").find(*c) != std::string::npos ? std::string("\\") + *c
                                                                 : std::string(1, *c);
    }
    word += "]";
    if (takesArgument(option)) {
      word += std::string(":") + option.argumentName + ":" +
              offered(option, "_files", "_directories", "(", ")");
    }
    std::printf("%s  %s", separator, quoted(word, "").c_str());
    separator = " \\\n";
  }
  std::puts("");
}

void printForFish() {
  std::puts("# Completion of varnel's command line for fish.\ncomplete -c varnel -f");
  for (const CommandLineOption& option : commandLineOptions) {
    std::string arguments;
    if (takesArgument(option)) {
      arguments =
          offered(option, " -r -F", " -x -a '(__fish_complete_directories)'", " -x -a '", "'");
    }
    std::printf("complete -c varnel -s %c%s -d %s\n", option.letter, arguments.c_str(),
                quoted(option.meaning, "\\").c_str());
  }
}

void printTable() {
  for (const CommandLineOption& option : commandLineOptions) {
    std::printf("%c\t%s\t%s\t%s\n", option.letter, takesArgument(option) ? option.argumentName : "",
                option.meaning, option.defaultText);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::string what = argc == 2 ? argv[1] : "";
  if (what == "usage") {
    printUsage();
  } else if (what == "bash") {
    printForBash();
  } else if (what == "zsh") {
    printForZsh();
  } else if (what == "fish") {
    printForFish();
  } else if (what == "table") {
    printTable();
  } else {
    std::fputs("Usage: print_options usage | bash | zsh | fish | table\n", stderr);
    return EXIT_FAILURE;
  }
  // What is printed becomes part of the product: a full disk must not pass for a short text.
  return std::fflush(stdout) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
