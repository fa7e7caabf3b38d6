#include <cstdio>
#include <memory>
#include <string>

#include "admin/CommonOptions.h"
#include "admin/ConfigurationReading.h"
#include "admin/Finding.h"
#include "admin/InputRemarks.h"
#include "admin/PlanReport.h"
#include "admin/PlannedSplit.h"
#include "admin/Routing.h"
#include "admin/StandardOutput.h"
#include "admin/jsonText.h"
#include "admin/verbs.h"
#include "driver/warnOfMissingEntries.h"
#include "platform/messages/MessageReceiver.h"

namespace {

constexpr int noEntryMessage = 63;
constexpr int noBaseEntryMessage = 64;
constexpr int mostServers = 1000;

struct PlanOptions {
  CommonOptions common;
  int servers = 0;  // 0: not given
  bool json = false;
};

/// Takes a message about a base DN, and prints it.
void take(const Message& message, const std::string& configFile, PlanReport::Missing& missing) {
  Finding finding{false, configFile, 0, "", message.arguments.front(), ""};
  if (message.number == noEntryMessage) {
    missing.entries.insert(message.arguments.front());
    finding.what = "no entry is at or below this base DN";
    finding.cure = "see whether it is the right one";
  } else if (message.number == noBaseEntryMessage) {
    missing.baseEntries.insert(message.arguments.front());
    finding.what = "entries are below this base DN, but it is none itself";
    finding.cure = "add it to the file of each of its servers";
  } else {
    return;
  }
  std::fprintf(stderr, "%s\n", lineOf(finding).c_str());
}

ExitStatus plan(const PlanOptions& options) {
  options.common.loadSchema();
  const ConfigurationReading reading(options.common.configFile);
  if (!reading.printErrors()) {
    return ExitStatus::wrong;
  }
  const VarnelConfig& config = reading.config();
  const Routing routing(config);
  InputRemarks remarks(config.inputFile_);
  PlanReport::Missing missing;
  receiveMessages([&](const Message& message) {
    if (!remarks.add(message)) {
      take(message, config.configFile_, missing);
    }
  });
  PlannedSplit plan(routing, remarks, options.servers);
  plan.run(config.inputFile_);
  warnOfMissingEntries(config.baseDNlist(), routing.actors());

  const PlanReport report(config, routing, plan, remarks, missing, options.servers);
  StandardOutput output;
  output.write(options.json ? jsonText(report.json()) + "\n" : report.table());
  output.flush();
  return remarks.endsSplit() ? ExitStatus::wrong : ExitStatus::good;
}

}  // namespace

void addPlan(CLI::App& program, Task& task) {
  const auto options = std::make_shared<PlanOptions>();
  CLI::App* const verb = program.add_subcommand("plan", "what a split would put where");
  options->common.addTo(*verb);
  verb->add_option("--servers", options->servers,
                   "also show what would move if each base DN had N servers")
      ->option_text("N")
      ->check(CLI::Range(1, mostServers));
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
