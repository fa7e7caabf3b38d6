// varnel: splits one LDIF file over the LDIF files of the back-end servers of a partitioned
// directory.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "actors/CryptoActor.h"
#include "actors/LdifActor.h"
#include "actors/ldifActorFactory.h"
#include "actors/normalizeDn.h"
#include "common/AutoClose.h"
#include "common/LineText.h"
#include "common/SystemFailure.h"
#include "config/VarnelConfig.h"
#include "config/VarnelConfigException.h"
#include "config/configKeys.h"
#include "driver/WatchedSplit.h"
#include "driver/commandLineOptions.h"
#include "driver/explainFailure.h"
#include "driver/findLastLineSplit.h"
#include "driver/getOptArgs.h"
#include "driver/loadSchemaFiles.h"
#include "driver/prepareProcess.h"
#include "driver/terminalWidth.h"
#include "driver/traceConfig.h"
#include "driver/warnOfMissingEntries.h"
#include "ldifsplit/LdifSplit.h"
#include "platform/dirclient/dirclient.h"
#include "platform/messages/PrintMessage.h"
#include "platform/text/number.h"
#include "platform/trace/trace.h"

/// Where the configuration is looked for without -f.
extern const char* const defaultConfigFile;
const char* const defaultConfigFile = configFileOfNoOption;

namespace {

constexpr int messageSet = 32;
constexpr int usageMessage = 5;
constexpr int missingArgumentMessage = 46;

// Where the options stand in what getOptArgs returns.
constexpr std::size_t configFileSlot = slotOf('f');
constexpr std::size_t recoverySlot = slotOf('r');
constexpr std::size_t debugSlot = slotOf('d');
constexpr std::size_t instanceSlot = slotOf('I');

/// Appends the number of the line where the split failed to the log, and ends the process.
[[noreturn]] void exitAfterFailure(std::FILE* log, int line) {
  // Scripts tell by the status whether the split failed at the very start; they rely on this limit.
  constexpr int lastEarlyLine = 9;
  std::fprintf(log, "%d\n", line);
  std::exit(line <= lastEarlyLine ? 2 : 1);
}

void loadSchema(const std::string& instanceName) {
  if (instanceName.empty()) {
    TRACE(traceProgress,
          "instance name not specified.  DN's will be normalized without schema %s\n",
          instanceName.c_str());
    return;
  }
  TRACE(traceProgress, "Using schema in instance %s\n", instanceName.c_str());
  loadSchemaFiles(instanceName);
  schemaInitialized = true;
}

void initialize(VarnelConfig& config) {
  try {
    config.init();
  } catch (const VarnelConfigException& failure) {
    TRACE(traceError, "VarnelConfigException: line %d, input file %s\n", failure.line(),
          config.configFile_.c_str());
    TRACE(traceError, "message: %s\n", failure.message().c_str());
    explainConfigFailure(config, failure);
    PrintMessage(messageSet, 1, 27);
    std::exit(1);
  }
}

/// Opens the log for appending; it stays open for the whole run.
std::FILE* openLog(const std::string& name) {
  std::FILE* log = std::fopen(name.c_str(), "a");
  if (log == nullptr) {
    noteSystemFailure(name);
    PrintMessage(messageSet, 1, 7, name.c_str(), "0");
    explainSystemFailure();
    std::exit(1);
  }
  return log;
}

/// How many files the split may have open at a time: every server's output file, the default output
/// file and the input.
std::size_t countFilesOfSplit(const std::map<std::string, LdifActor*>& actors) {
  return actors.at(cryptoDN)->getOutputFiles().size() + 2;
}

/// `watched`: who shows the split on a terminal; a null pointer: nobody.
void split(const VarnelConfig& config, const std::map<std::string, LdifActor*>& actors,
           std::FILE* log, WatchedSplit* watched) {
  try {
    TRACE(traceProgress, "About to call ldifSplit()\n");
    if (watched != nullptr) {
      watched->run(config, actors);
      return;
    }
    ldifsplit::ldifSplit(config.inputFile_, actors, config.defaultOutputFile_, config.reserved_, 0);
  } catch (const ldifsplit::LdifSplitException& failure) {
    TRACE(traceError, "Caught LdifSplitException: %s, line number: %d\n", failure.message().c_str(),
          failure.line());
    PrintMessage(messageSet, 1, 34, LineText(failure.line()).c_str());
    explainSystemFailure();
    explainFormat(config.inputFile_);
    exitAfterFailure(log, failure.line());
  } catch (const ldifsplit::SplitOutputException& failure) {
    TRACE(traceError, "Caught SplitOutputException: %s, line number: %d\n",
          failure.message().c_str(), failure.line());
    PrintMessage(messageSet, 1, 52, failure.message().c_str());
    explainSystemFailure();
    exitAfterFailure(log, failure.line());
  }
}

}  // namespace

int main(int argc, char** argv) {
  prepareProcess();
  schemaInitialized = false;
  const std::vector<std::string> options =
      getOptArgs(argc, argv, optionString(), messageSet, usageMessage, missingArgumentMessage);
  if (optind < argc) {
    PrintMessage(messageSet, 1, 68, argv[optind]);
  }
  ldtr_init();
  write_ldap_debug(text::leadingInt(options[debugSlot]));
  loadSchema(options[instanceSlot]);

  const std::string configFile =
      options[configFileSlot].empty() ? defaultConfigFile : options[configFileSlot];
  PrintMessage(messageSet, 1, 1, configFile.c_str());
  TRACE(traceProgress, "Configuration file: %s\n", configFile.c_str());
  if (!options[recoverySlot].empty()) {
    PrintMessage(messageSet, 1, 30, configFile.c_str());
  }
  const bool recovery = options[recoverySlot] == "true";
  VarnelConfig config(configFile, recovery);
  initialize(config);

  std::FILE* const log = openLog(config.logFile_);
  if (recovery) {
    // The number is only traced: every split starts from the first line.
    findLastLineSplit(config.logFile_);
  }
  // A log that cannot be read stops nothing.
  AutoClose(std::fopen(config.logFile_.c_str(), "r")).reset();
  write_g_errorFile(config.logFile_.c_str());
  PrintMessage(messageSet, 1, 28);
  if (config.defaultOutputFile_ == parentFileDefault) {
    PrintMessage(messageSet, 1, 36, config.defaultOutputFile_.c_str());
  }

  TRACE(traceProgress, "About to trace the configuration object.\n");
  traceConfig(config);
  TRACE(traceProgress, "Done tracing the configuration object.\n");
  if (config.actionType_ != VarnelConfig::splitOnly) {
    PrintMessage(messageSet, 1, 27);
    TRACE(traceError, "SplitAndConfigure and ConfigureOnly not available in this release\n");
    std::exit(1);
  }

  {
    const std::map<std::string, LdifActor*> actors = ldifActorFactory(config);
    warnOfTooManyFiles(countFilesOfSplit(actors));
    TRACE(traceProgress, "Printing the BEGINNING_SPLIT message\n");
    PrintMessage(messageSet, 1, 37, configFile.c_str());
    // Whoever reads the messages from a file or a pipe gets those alone.
    WatchedSplit watched(stderr);
    const bool isWatched = isTerminal(stderr);
    split(config, actors, log, isWatched ? &watched : nullptr);
    TRACE(traceProgress, "Finished ldifSplit() successfully\n");
    warnOfMissingEntries(config.baseDNlist(), actors);
    PrintMessage(messageSet, 1, 39);
    if (isWatched) {
      watched.printShares(config, actors);
    }
  }
  static_cast<void>(std::fclose(log));  // nothing was written to it
  return 0;
}
