#include "admin/ConfigLines.h"

#include <algorithm>
#include <fstream>

#include "actors/normalizeDn.h"
#include "admin/FilePlace.h"
#include "config/ConfigLine.h"
#include "config/configKeys.h"

ConfigLines::ConfigLines(const std::string& file) {
  if (kindOf(file) != FileKind::regular) {
    return;
  }
  std::ifstream stream(file);
  int number = 0;
  for (std::string text; std::getline(stream, text);) {
    ++number;
    ConfigLine line(text);
    if (line.isSkipped()) {
      continue;
    }
    if (line.key == baseDNKey) {
      nLdifActor::normalizeDn(line.value);
    }
    lines_.push_back({number, line.key, line.value});
  }
}

int ConfigLines::sectionBefore(int line) const {
  int found = 0;
  for (const Line& candidate : lines_) {
    if (candidate.key == baseDNKey && candidate.number < line) {
      found = candidate.number;
    }
  }
  return found;
}

int ConfigLines::lineOfBaseDn(const std::string& baseDn) const {
  const auto found = std::find_if(lines_.begin(), lines_.end(), [&](const Line& line) {
    return line.key == baseDNKey && line.value == baseDn;
  });
  return found != lines_.end() ? found->number : 0;
}

std::string ConfigLines::baseDnOf(int number) const {
  const auto found = std::find_if(lines_.begin(), lines_.end(),
                                  [&](const Line& line) { return line.number == number; });
  return found != lines_.end() ? found->value : "";
}

int ConfigLines::lineOfRepeatedUrl(const std::string& baseDn, const std::string& url) const {
  const int section = lineOfBaseDn(baseDn);
  int count = 0;
  for (const Line& line : lines_) {
    if (section == 0 || line.number <= section) {
      continue;
    }
    if (line.key == baseDNKey) {
      break;
    }
    count += line.key == URLKey && line.value == url ? 1 : 0;
    if (count == 2) {
      return line.number;
    }
  }
  return 0;
}
