#include "config/addBaseDirToFilename.h"

#include <cctype>

void addBaseDirToFilename(std::string& name, const std::string& baseDir) {
  if (name.find('/') == std::string::npos) {
    name = baseDir + "/" + name;
  }
}

void toLower(char& c) {
  c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

bool WhitespacePredicate::operator()(char c) const {
  return std::isspace(static_cast<unsigned char>(c)) != 0;
}
