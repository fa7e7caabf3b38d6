#include "driver/explainFailure.h"

#include "common/LineText.h"
#include "common/SystemFailure.h"
#include "config/ConfigLine.h"
#include "config/nearestLegalKey.h"
#include "driver/foreignFormat.h"
#include "platform/messages/PrintMessage.h"
#include "platform/text/onOneLine.h"

void explainSystemFailure() {
  const SystemFailure& failure = notedSystemFailure();
  if (!failure.reason.empty()) {
    PrintMessage(32, 1, 73, failure.file.c_str(), failure.reason.c_str());
  }
}

void explainFormat(const std::string& fileName) {
  const std::string format = foreignFormat(fileName);
  if (!format.empty()) {
    PrintMessage(32, 1, 74, fileName.c_str(), format.c_str());
  }
}

void explainConfigFailure(const VarnelConfig& config, const VarnelConfigException& failure) {
  explainSystemFailure();
  explainFormat(config.configFile_);
  if (failure.line() == 0 || failure.line() != config.lastLine_) {
    return;
  }
  const bool inSection = !config.baseDNSections_.empty();
  const std::string nearest = nearestLegalKey(ConfigLine(config.lastLineText_).key, inSection);
  PrintMessage(32, 1, 62, config.configFile_.c_str(), LineText(failure.line()).c_str(),
               text::onOneLine(config.lastLineText_).c_str(), nearest.c_str());
}
