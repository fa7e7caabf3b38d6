#include "config/ConfigLine.h"

#include <algorithm>

#include "config/WhitespacePredicate.h"
#include "config/toLower.h"

namespace {

void trim(std::string& value) {
  const WhitespacePredicate isSpace;
  value.erase(value.begin(), std::find_if_not(value.begin(), value.end(), isSpace));
  // The way back from the end stops at the first character. Where it gets so far, all behind that
  // character is white space, and nothing is removed.
  std::string::size_type last = value.empty() ? 0 : value.size() - 1;
  while (last > 0 && isSpace(value[last])) {
    --last;
  }
  if (last > 0) {
    value.resize(last + 1);
  }
}

}  // namespace

ConfigLine::ConfigLine(const std::string& line) {
  const auto colon = line.find(':');
  key = line.substr(0, colon);
  // Without a colon the position behind it wraps to 0, and the value is the whole line too.
  value = line.substr(colon + 1);
  key.erase(std::remove_if(key.begin(), key.end(), WhitespacePredicate()), key.end());
  std::for_each(key.begin(), key.end(), toLower);
  trim(value);
}
