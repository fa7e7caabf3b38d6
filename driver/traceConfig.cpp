#include "driver/traceConfig.h"

#include <string>
#include <vector>

#include "platform/trace/trace.h"

void traceConfig(VarnelConfig config) {
  for (const std::string& baseDn : config.baseDNlist()) {
    TRACE(traceProgress, "Base DN: %s\n", baseDn.c_str());
    const std::vector<VarnelConfig::TokenRecord> records = config.baseDNSections_.at(baseDn);
    for (const VarnelConfig::TokenRecord& record : records) {
      for (const auto& pair : record) {
        TRACE(traceProgress, "%s : %s\n", pair.first.c_str(), pair.second.c_str());
      }
    }
    TRACE(traceProgress, "-------\n");
  }
}
