// Prints the completion of varnelctl's command line while the program is built:
//
//   print_completion bash     for bash
//   print_completion zsh      for zsh
//   print_completion fish     for fish
//   print_completion table    for the tests: a line for each option of each verb, with tabs between
//                             the verb, the option's names, which have blanks between them, the
//                             name of its argument, which may be empty, and its meaning

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "admin/commandLine.h"

namespace {

struct Option {
  std::vector<std::string> names;  // with their hyphens
  std::string argument;            // its name; empty for a flag
  std::string meaning;
};

struct Verb {
  std::string name;
  std::string meaning;
  std::vector<Option> options;
  bool takesFiles;  // as arguments
};

std::string firstWord(const std::string& text) {
  return text.substr(0, text.find(' '));
}

std::vector<Verb> verbsOf(const CLI::App& program) {
  std::vector<Verb> verbs;
  for (const CLI::App* app : program.get_subcommands([](const CLI::App*) { return true; })) {
    Verb verb{app->get_name(), app->get_description(), {}, false};
    for (const CLI::Option* option : app->get_options()) {
      if (option->get_positional()) {
        verb.takesFiles = verb.takesFiles || option->get_name(true) == "FILE";
        continue;
      }
      Option shown{{}, "", option->get_description()};
      for (const std::string& name : option->get_snames()) {
        shown.names.push_back("-" + name);
      }
      for (const std::string& name : option->get_lnames()) {
        shown.names.push_back("--" + name);
      }
      if (option->get_items_expected_max() > 0) {
        shown.argument = firstWord(option->get_option_text());
      }
      verb.options.push_back(shown);
    }
    verbs.push_back(verb);
  }
  return verbs;
}

bool isFile(const std::string& argument) {
  return argument == "CONF" || argument == "FILE";
}

std::string joined(const std::vector<std::string>& words, const std::string& separator) {
  std::string text;
  for (const std::string& word : words) {
    text += (text.empty() ? "" : separator) + word;
  }
  return text;
}

/// The text as it may stand between single quotation marks, each character of `special` behind a
/// `\`.
std::string quoted(const std::string& text, const std::string& special) {
  std::string result = "'";
  for (const char c : text) {
    if (c == '\'') {
      result += R"('\'')";
      continue;
    }
    if (special.find(c) != std::string::npos) {
      result += '\\';
    }
    result += c;
  }
  return result + "'";
}

std::vector<std::string> namesOf(const Verb& verb) {
  std::vector<std::string> names;
  for (const Option& option : verb.options) {
    names.insert(names.end(), option.names.begin(), option.names.end());
  }
  return names;
}

void printForBash(const std::vector<Verb>& verbs) {
  std::vector<std::string> names;
  names.reserve(verbs.size());
  for (const Verb& verb : verbs) {
    names.push_back(verb.name);
  }
  std::printf(
      "# Completion of varnelctl's command line for bash.\n"
      "_varnelctl() {\n"
      "  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} verb= i words=\n"
      "  for ((i = 1; i < COMP_CWORD; ++i)); do\n"
      "    case ${COMP_WORDS[i]} in %s) verb=${COMP_WORDS[i]} && break ;; esac\n"
      "  done\n"
      "  case \"$verb $previous\" in\n",
      joined(names, "|").c_str());
  for (const Verb& verb : verbs) {
    for (const Option& option : verb.options) {
      for (const std::string& name : option.names) {
        if (!option.argument.empty()) {
          const char* const kind = isFile(option.argument)         ? "-f"
                                   : option.argument == "INSTANCE" ? "-d"
                                                                   : "-W ''";
          std::printf(
              "    '%s %s') mapfile -t COMPREPLY < <(compgen %s -- \"$current\") && return ;;\n",
              verb.name.c_str(), name.c_str(), kind);
        }
      }
    }
  }
  std::puts("  esac\n  case $verb in");
  for (const Verb& verb : verbs) {
    std::printf("    %s) words='%s' ;;\n", verb.name.c_str(), joined(namesOf(verb), " ").c_str());
  }
  std::printf(
      "    *) words='%s --help --version' ;;\n"
      "  esac\n"
      "  mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n",
      joined(names, " ").c_str());
  for (const Verb& verb : verbs) {
    if (verb.takesFiles) {
      std::printf(
          "  [[ $verb != %s || $current == -* ]] || mapfile -t COMPREPLY < <(compgen -f -- \"$current\")\n",
          verb.name.c_str());
    }
  }
  std::puts("}\ncomplete -o filenames -F _varnelctl varnelctl");
}

/// What _arguments takes for an option: "(-f --config)"{-f,--config}"[meaning]:CONF:_files".
std::string zshOption(const Option& option) {
  std::string meaning;
  for (const char c : option.meaning) {
    meaning += std::string("[]:\\").find(c) != std::string::npos ? std::string("\\") + c
                                                                 : std::string(1, c);
  }
  std::string rest = "[" + meaning + "]";
  if (!option.argument.empty()) {
    const char* const kind = isFile(option.argument)         ? "_files"
                             : option.argument == "INSTANCE" ? "_directories"
                                                             : "";
    rest += ":" + option.argument + ":" + kind;
  }
  const std::string others = "(" + joined(option.names, " ") + ")";
  std::string words;
  for (const std::string& name : option.names) {
    std::string one = others;
    one += name;
    one += rest;
    words += " \\\n        ";
    words += quoted(one, "");
  }
  return words;
}

void printForZsh(const std::vector<Verb>& verbs) {
  std::puts(
      "#compdef varnelctl\n"
      "# Completion of varnelctl's command line for zsh.\n"
      "if ((CURRENT == 2)); then\n"
      "  local -a verbs=(");
  for (const Verb& verb : verbs) {
    std::printf("    %s\n", quoted(verb.name + ":" + verb.meaning, "").c_str());
  }
  std::puts(
      "  )\n"
      "  _describe verb verbs\n"
      "else\n"
      "  local verb=$words[2]\n"
      "  shift words\n"
      "  ((CURRENT--))\n"
      "  case $verb in");
  for (const Verb& verb : verbs) {
    std::printf("    %s)\n      _arguments -s", verb.name.c_str());
    for (const Option& option : verb.options) {
      std::printf("%s", zshOption(option).c_str());
    }
    std::printf("%s ;;\n", verb.takesFiles ? " \\\n        '*:FILE:_files'" : "");
  }
  std::puts("  esac\nfi");
}

void printForFish(const std::vector<Verb>& verbs) {
  std::puts(
      "# Completion of varnelctl's command line for fish.\n"
      "complete -c varnelctl -f\n"
      "complete -c varnelctl -n __fish_use_subcommand -l version -d 'print the version'\n"
      "complete -c varnelctl -n __fish_use_subcommand -s h -l help -d 'print the help'");
  for (const Verb& verb : verbs) {
    std::printf("complete -c varnelctl -n __fish_use_subcommand -a %s -d %s\n", verb.name.c_str(),
                quoted(verb.meaning, "\\").c_str());
    const std::string seen = "'__fish_seen_subcommand_from " + verb.name + "'";
    for (const Option& option : verb.options) {
      std::string line = "complete -c varnelctl -n " + seen;
      for (const std::string& name : option.names) {
        const bool isLong = name.compare(0, 2, "--") == 0;
        line += isLong ? " -l " + name.substr(2) : " -s " + name.substr(1);
      }
      if (isFile(option.argument)) {
        line += " -r -F";
      } else if (option.argument == "INSTANCE") {
        line += " -x -a '(__fish_complete_directories)'";
      } else if (!option.argument.empty()) {
        line += " -x";
      }
      std::printf("%s -d %s\n", line.c_str(), quoted(option.meaning, "\\").c_str());
    }
    if (verb.takesFiles) {
      std::printf("complete -c varnelctl -n %s -F\n", seen.c_str());
    }
  }
}

void printTable(const std::vector<Verb>& verbs) {
  for (const Verb& verb : verbs) {
    for (const Option& option : verb.options) {
      std::printf("%s\t%s\t%s\t%s\n", verb.name.c_str(), joined(option.names, " ").c_str(),
                  option.argument.c_str(), option.meaning.c_str());
    }
  }
}

}  // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): a build is to fail where there is not even memory
int main(int argc, char** argv) {
  const std::string what = argc == 2 ? argv[1] : "";
  CLI::App program;
  Task task;
  addVerbs(program, task);
  const std::vector<Verb> verbs = verbsOf(program);
  if (what == "bash") {
    printForBash(verbs);
  } else if (what == "zsh") {
    printForZsh(verbs);
  } else if (what == "fish") {
    printForFish(verbs);
  } else if (what == "table") {
    printTable(verbs);
  } else {
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
