#include "admin/Finding.h"

#include "platform/text/onOneLine.h"

std::string lineOf(const Finding& finding) {
  std::string line = text::onOneLine(finding.file) + ":";
  if (finding.line > 0) {
    line += std::to_string(finding.line) + ":";
  }
  line += finding.isError ? " error: " : " warning: ";
  line += text::onOneLine(finding.what);
  for (const std::string* part : {&finding.value, &finding.cure}) {
    if (!part->empty()) {
      line += ", " + text::onOneLine(*part);
    }
  }
  return line;
}

Finding findingOf(const Message& message, const std::string& configFile, int line) {
  return {message.severity == 'E', configFile, line, message.text, "", ""};
}
