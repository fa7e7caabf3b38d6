#ifndef CONFIG_ADDBASEDIRTOFILENAME_H
#define CONFIG_ADDBASEDIRTOFILENAME_H

#include <string>

/// Puts `baseDir` and a slash before a name without any slash. A name with one stays as it is, so
/// that a relative path such as out/a.ldif is relative to the working directory.
void addBaseDirToFilename(std::string& name, const std::string& baseDir);

#endif
