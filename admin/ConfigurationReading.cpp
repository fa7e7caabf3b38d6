#include "admin/ConfigurationReading.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "config/VarnelConfigException.h"

ConfigurationReading::ConfigurationReading(const std::string& configFile,
                                           std::shared_ptr<LookedAtFiles> files)
    : files_(std::move(files)) {
  receiveMessages([this](const Message& message) { take(message); });
  config_ = std::make_unique<VarnelConfig>(
      configFile, files_, [this](const VarnelConfigException& fault) { take(fault); });
  try {
    config_->init();
  } catch (const VarnelConfigException& fault) {
    take(fault);  // the file cannot be read
  }
  messages_.clear();
}

ConfigurationReading::~ConfigurationReading() {
  receiveMessages(nullptr);
}

void ConfigurationReading::take(const Message& message) {
  messages_.push_back(message);
}

void ConfigurationReading::take(const VarnelConfigException& fault) {
  for (const Message& message : messages_) {
    findings_.push_back(findingOf(message, config_->configFile_, fault.line()));
  }
  if (messages_.empty()) {
    findings_.push_back({true, config_->configFile_, fault.line(), fault.message(), "", ""});
  }
  messages_.clear();
}

bool ConfigurationReading::isUsable() const {
  return std::none_of(findings_.begin(), findings_.end(),
                      [](const Finding& finding) { return finding.isError; });
}

bool ConfigurationReading::printErrors() const {
  for (const Finding& finding : findings_) {
    if (finding.isError) {
      std::fprintf(stderr, "%s\n", lineOf(finding).c_str());
    }
  }
  return isUsable();
}
