#include <algorithm>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "admin/ConfigurationReading.h"
#include "admin/existingOutputs.h"
#include "admin/jsonText.h"
#include "admin/verbs.h"
#include "admin/warningsOf.h"

namespace {

std::string countOf(std::size_t count, const std::string& what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

void printJson(const ConfigurationReading& reading, const std::vector<Finding>& findings,
               std::size_t errors) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const Finding& finding : findings) {
    list.push_back({{"severity", finding.isError ? "error" : "warning"},
                    {"file", finding.file},
                    {"line", finding.line},
                    {"what", finding.what},
                    {"value", finding.value},
                    {"cure", finding.cure}});
  }
  const nlohmann::ordered_json result = {
      {"file", reading.config().configFile_},
      {"usable", reading.isUsable()},
      {"errors", errors},
      {"warnings", findings.size() - errors},
      {"findings", list},
      {"remove", removalOf(existingOutputs(reading.files()))},
  };
  std::printf("%s\n", jsonText(result).c_str());
}

void printText(const std::vector<Finding>& findings, std::size_t errors) {
  for (const Finding& finding : findings) {
    std::printf("%s\n", lineOf(finding).c_str());
  }
  std::printf("%s, %s\n", countOf(errors, "error").c_str(),
              countOf(findings.size() - errors, "warning").c_str());
}

}  // namespace

ExitStatus check(const CheckOptions& options) {
  options.common.loadSchema();
  const ConfigurationReading reading(options.common.configFile);
  std::vector<Finding> findings = reading.findings();
  const std::vector<Finding> warnings = warningsOf(reading);
  findings.insert(findings.end(), warnings.begin(), warnings.end());
  sortByLine(findings);
  const auto errors = static_cast<std::size_t>(std::count_if(
      findings.begin(), findings.end(), [](const Finding& finding) { return finding.isError; }));
  if (options.json) {
    printJson(reading, findings, errors);
  } else {
    printText(findings, errors);
  }
  return reading.isUsable() ? ExitStatus::good : ExitStatus::wrong;
}
