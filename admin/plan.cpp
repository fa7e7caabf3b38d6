#include <cstdio>
#include <memory>
#include <string>

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

}  // namespace

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
