#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "admin/CommonOptions.h"
#include "admin/ConfigurationReading.h"
#include "admin/SplitRun.h"
#include "admin/existingOutputs.h"
#include "admin/verbs.h"
#include "driver/terminalWidth.h"

namespace {

struct Options : CommonOptions {
  bool replace = false;
  bool quiet = false;
};

/// False, with all of them told, where there are any.
bool requireFreeNames(const ConfigurationReading& reading) {
  const std::vector<LookedAtFiles::Use> outputs = existingOutputs(reading.files());
  for (const LookedAtFiles::Use& output : outputs) {
    const Finding finding{true,        reading.config().configFile_,
                          output.line, "the output file exists",
                          output.name, "remove it, or use --replace"};
    std::fprintf(stderr, "%s\n", lineOf(finding).c_str());
  }
  if (!outputs.empty()) {
    std::fprintf(stderr, "varnelctl: output files exist: this removes them: %s\n",
                 removalOf(outputs).c_str());
  }
  return outputs.empty();
}

ExitStatus split(const Options& options) {
  options.loadSchema();
  ConfigurationReading reading(options.configFile);
  for (const Finding& finding : reading.findings()) {
    std::fprintf(stderr, "%s\n", lineOf(finding).c_str());
  }
  if (!reading.isUsable() || (!options.replace && !requireFreeNames(reading))) {
    return ExitStatus::wrong;
  }
  return SplitRun(reading, options.replace, !options.quiet && isTerminal(stderr)).run();
}

}  // namespace

void addSplit(CLI::App& program, Task& task) {
  const auto options = std::make_shared<Options>();
  CLI::App* const verb = program.add_subcommand(
      "split", "Split the input as varnel does: all output files are there at the end, or none");
  options->addTo(*verb);
  verb->add_flag("--replace", options->replace,
                 "replace output files that exist, once the new ones are complete");
  verb->add_flag("-q,--quiet", options->quiet,
                 "no progress line and no table of shares on a terminal");
  verb->callback([options, &task] { task = [options] { return split(*options); }; });
}
