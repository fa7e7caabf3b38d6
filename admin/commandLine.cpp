#include "admin/commandLine.h"

#include <cstddef>
#include <memory>
#include <string>

#include "admin/verbs.h"

namespace {

void addCommon(CLI::App& verb, CommonOptions& common) {
  verb.add_option("-f,--config", common.configFile, "configuration file")
      ->option_text("CONF (" + common.configFile + ")");
  verb.add_option("-I,--instance", common.instance,
                  "server instance whose schema says what names are equal")
      ->option_text("INSTANCE");
}

void addJson(CLI::App& verb, bool& json) {
  verb.add_flag("--json", json, "print the result as JSON");
}

/// Empty, or what is wrong with the value of --sample.
std::string checkSample(const std::string& value) {
  constexpr std::size_t mostDigits = 9;
  const bool isNumber = !value.empty() && value.size() <= mostDigits &&
                        value.find_first_not_of("0123456789") == std::string::npos;
  return isNumber || value == ProbeOptions::everyEntry ? ""
                                                       : "a number of up to nine digits, or all";
}

void addCheck(CLI::App& program, Task& task) {
  const auto options = std::make_shared<CheckOptions>();
  CLI::App* const verb = program.add_subcommand(
      "check", "Look at the configuration and touch no file: every error and what would surprise");
  addCommon(*verb, options->common);
  addJson(*verb, options->json);
  verb->callback([options, &task] { task = [options] { return check(*options); }; });
}

void addPlan(CLI::App& program, Task& task) {
  const auto options = std::make_shared<PlanOptions>();
  CLI::App* const verb = program.add_subcommand("plan", "Show what a split would put where");
  addCommon(*verb, options->common);
  verb->add_option("--servers", options->servers,
                   "also show what would move if each base DN had N servers")
      ->option_text("N")
      ->check(CLI::Range(1, PlanOptions::mostServers));
  addJson(*verb, options->json);
  verb->footer(
      "Reads the input once, writes no file, and shows for each base DN and each of its\n"
      "servers how many entries and bytes would go there, the largest part that cannot be\n"
      "divided among servers (a name directly below the base DN, with all below it), and\n"
      "what goes to the default output file. On standard error it names each line at\n"
      "which a split would end, and those that would surprise. The status is 1 where a\n"
      "split would fail. JSON has the first 10000 line numbers of each kind.");
  verb->callback([options, &task] { task = [options] { return plan(*options); }; });
}

void addSplit(CLI::App& program, Task& task) {
  const auto options = std::make_shared<SplitOptions>();
  CLI::App* const verb = program.add_subcommand(
      "split", "Split the input as varnel does: all output files are there at the end, or none");
  addCommon(*verb, options->common);
  verb->add_flag("--replace", options->replace,
                 "replace output files that exist, once the new ones are complete");
  verb->add_flag("-q,--quiet", options->quiet,
                 "no progress line and no table of shares on a terminal");
  verb->callback([options, &task] { task = [options] { return split(*options); }; });
}

void addVerify(CLI::App& program, Task& task) {
  const auto options = std::make_shared<VerifyOptions>();
  CLI::App* const verb =
      program.add_subcommand("verify", "Compare the output files with the input");
  addCommon(*verb, options->common);
  verb->add_flag("--names", options->names,
                 "the files are exports of the running servers: compare the names only");
  verb->add_option("--limit", options->limit, "how many differences are named, default 20")
      ->option_text("N");
  addJson(*verb, options->json);
  verb->footer(
      "Each entry of the input has to stand, byte for byte and in order, in exactly the files\n"
      "where it belongs, and nothing else. A file may be compressed since then, and have .gz,\n"
      ".bz2, .xz or .zst behind its name.");
  verb->callback([options, &task] { task = [options] { return verify(*options); }; });
}

void addProbe(CLI::App& program, Task& task) {
  const auto options = std::make_shared<ProbeOptions>();
  CLI::App* const verb =
      program.add_subcommand("probe", "Ask the running servers for entries of the input");
  addCommon(*verb, options->common);
  verb->add_option("--sample", options->sample,
                   "how many entries are looked for, drawn evenly, or all; base entries always "
                   "are; default 1000")
      ->option_text("N")
      ->check(CLI::Validator(checkSample, "", "sample"));
  verb->add_flag("--others", options->others,
                 "look for each entry at all other servers too, where it must not be");
  CLI::Option* const dn = verb->add_option("-D,--bind-dn", options->login.bindDn,
                                           "name to bind with; default: anonymous")
                              ->option_text("DN");
  CLI::Option* const password =
      verb->add_option("-y,--password-file", options->passwordFile,
                       "file with the password, whose last line end does not count")
          ->option_text("FILE");
  dn->needs(password);
  password->needs(dn);
  verb->add_flag("--starttls", options->login.startTls, "begin with StartTLS, which has to work");
  verb->add_option("--ca", options->login.caFile, "certificates to trust, in PEM form")
      ->option_text("FILE");
  verb->add_option("--timeout", options->login.timeout, "seconds to wait for a server, default 10")
      ->option_text("SECONDS")
      ->check(CLI::Range(1, 3600));
  verb->add_option("--limit", options->limit, "how many entries are named, default 20")
      ->option_text("N");
  addJson(*verb, options->json);
  verb->footer(
      "Each entry has to be at the server that the hash of its name says, base entries and those\n"
      "below cn=localhost at every one. One that is not at its own is looked for at the others. A\n"
      "server that does not answer is given up; its share counts as unreachable. Referrals are\n"
      "not followed.");
  verb->callback([options, &task] { task = [options] { return probe(*options); }; });
}

void addWhere(CLI::App& program, Task& task) {
  const auto options = std::make_shared<WhereOptions>();
  CLI::App* const verb = program.add_subcommand("where", "Tell which server holds a name");
  addCommon(*verb, options->common);
  addJson(*verb, options->json);
  verb->add_option("DN", options->names,
                   "names in any spelling; without one, names from standard input, one a line")
      ->option_text("...");
  verb->footer(
      "Prints a line for each name, its columns separated by tabs:\n"
      "  1  number of the server, from 1; * for every server of the base DN (the base DN\n"
      "     itself) or of all base DNs (names at and below cn=localhost); - for the parent\n"
      "  2  URL of the server, or * or -\n"
      "  3  file of the server, or *; of the parent: the default output file\n"
      "  4  base DN in normal form, or -\n"
      "  5  the name as it was given, control bytes in it as \\ and two hexadecimal digits\n"
      "A name that is no DN has a line on standard error instead.\n"
      "No file that the configuration names has to be there.");
  verb->callback([options, &task] { task = [options] { return where(*options); }; });
}

void addFold(CLI::App& program, Task& task) {
  const auto options = std::make_shared<FoldOptions>();
  CLI::App* const verb =
      program.add_subcommand("fold", "Fold the lines of LDIF that have more than 76 bytes");
  verb->add_option("FILE", options->file, "LDIF, compressed or not; without it, standard input")
      ->option_text(" ");
  verb->footer(
      "Prints the LDIF with each line of more than 76 bytes folded, never inside a UTF-8\n"
      "character, and all else byte for byte. So what \"ldapsearch -o ldif-wrap=no\" wrote\n"
      "can be split. The line end of a fold is that of the line before it.");
  verb->callback([options, &task] { task = [options] { return fold(*options); }; });
}

}  // namespace

void addVerbs(CLI::App& program, Task& task) {
  program.require_subcommand(1);
  addCheck(program, task);
  addPlan(program, task);
  addSplit(program, task);
  addVerify(program, task);
  addProbe(program, task);
  addWhere(program, task);
  addFold(program, task);
}
