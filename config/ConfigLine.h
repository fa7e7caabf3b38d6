// One line of the configuration file taken apart.
#ifndef CONFIG_CONFIGLINE_H
#define CONFIG_CONFIGLINE_H

#include <string>

/// "key: value". The key is in lower case and without any white space, so that "Base DN" is
/// "basedn". The value is without the white space around it, with one exception: a value of a
/// single character keeps the white space behind it. A line without a colon is key and value both.
struct ConfigLine {
  explicit ConfigLine(const std::string& line);

  /// Nothing to process: a blank line, a comment, or a line that begins with the colon.
  bool isSkipped() const { return key.empty() || key.front() == '#'; }

  std::string key;
  std::string value;
};

#endif
