// The options of the command line. They stand here once: getopt's option string, the usage text
// and the shell completion are made from this table, and the man page is tested against it.
#ifndef DRIVER_COMMANDLINEOPTIONS_H
#define DRIVER_COMMANDLINEOPTIONS_H

#include <cstddef>
#include <string>

/// One option. Its texts are printed by a message, so they hold no percent sign.
struct CommandLineOption {
  char letter;
  const char* argumentName;  // a null pointer for a flag, which has no argument
  const char* meaning;
  const char* defaultText;  // what holds without the option, and then what that means
  const char* completion;   // what its argument may be: "file", "directory" or the words, with
                            // blanks between them; empty for a flag
};

/// Where the configuration is looked for without -f.
constexpr const char* configFileOfNoOption = "./varnelConfig";

/// In the order in which they are shown, and in which getOptArgs returns their arguments.
constexpr CommandLineOption commandLineOptions[] = {
    {'f', "FILE",
     "configuration file: names the input, the base DNs, the servers and their output files",
     configFileOfNoOption, "file"},
    {'r', nullptr,
     "recovery mode: log and output files must exist already; the output files are overwritten, "
     "from the first line of the input",
     "off; no output file may exist", ""},
    {'d', "LEVEL",
     "debug output on standard error, a sum of 1 (what the run does) and 4 (hash decisions)", "0",
     "1 4 5"},
    {'I', "INSTANCE",
     "name or directory of the server instance whose schema decides which spellings of a DN are "
     "the same",
     "none; values compare without regard to case", "directory"},
};

/// The place of an option in the table. Used for constants: a letter that is not in the table does
/// not compile.
constexpr std::size_t slotOf(char letter) {
  std::size_t slot = 0;
  while (commandLineOptions[slot].letter != letter) {
    ++slot;
  }
  return slot;
}

/// The option string as getopt takes it. It begins with ":", so that getopt prints nothing itself.
inline std::string optionString() {
  std::string letters(1, ':');
  for (const CommandLineOption& option : commandLineOptions) {
    letters += option.letter;
    if (option.argumentName != nullptr) {
      letters += ':';
    }
  }
  return letters;
}

#endif
