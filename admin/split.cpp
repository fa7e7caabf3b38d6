#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "admin/ConfigurationReading.h"
#include "admin/SplitRun.h"
#include "admin/existingOutputs.h"
#include "admin/verbs.h"
#include "driver/terminalWidth.h"

namespace {

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

}  // namespace

ExitStatus split(const SplitOptions& options) {
  options.common.loadSchema();
  ConfigurationReading reading(options.common.configFile);
  for (const Finding& finding : reading.findings()) {
    std::fprintf(stderr, "%s\n", lineOf(finding).c_str());
  }
  if (!reading.isUsable() || (!options.replace && !requireFreeNames(reading))) {
    return ExitStatus::wrong;
  }
  return SplitRun(reading, options.replace, !options.quiet && isTerminal(stderr)).run();
}
