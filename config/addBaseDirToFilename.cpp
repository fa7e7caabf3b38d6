#include "config/addBaseDirToFilename.h"

void addBaseDirToFilename(std::string& name, const std::string& baseDir) {
  if (name.find('/') == std::string::npos) {
    name = baseDir + "/" + name;
  }
}
