// The lines of a configuration file, for those who tell where something stands.
#ifndef ADMIN_CONFIGLINES_H
#define ADMIN_CONFIGLINES_H

#include <string>
#include <vector>

/// Reads the file once more, line by line as its parser takes it. There are none where it is no
/// regular file: a pipe gives its lines only once. Every number is 0 then, as it is for what is not
/// there.
class ConfigLines {
 public:
  explicit ConfigLines(const std::string& file);

  /// The number of the "basedn" line that opens the section in front of `line`.
  int sectionBefore(int line) const;

  /// The same of a base DN in normal form.
  int lineOfBaseDn(const std::string& baseDn) const;

  /// The base DN of the section that this line opens, in normal form; empty where there is none.
  std::string baseDnOf(int line) const;

  /// The number of the second line of the section with that URL.
  int lineOfRepeatedUrl(const std::string& baseDn, const std::string& url) const;

 private:
  struct Line {
    int number;
    std::string key;
    std::string value;  ///< of a base DN its normal form, empty where it is none
  };

  std::vector<Line> lines_;
};

#endif
