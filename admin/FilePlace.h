// Where a file is or would be, whatever its name says.
#ifndef ADMIN_FILEPLACE_H
#define ADMIN_FILEPLACE_H

#include <sys/types.h>

#include <string>

enum class FileKind {
  missing,  ///< nothing of that name, or a symbolic link that leads to nothing
  regular,  ///< bytes that stay
  directory,
  stream,  ///< a device, a pipe, a socket, or a descriptor of the process such as /dev/stdout
};

/// What the name stands for now. Where the system does not tell, the name counts as missing and
/// errno has the reason; else errno is 0.
FileKind kindOf(const std::string& name);

/// The name behind all symbolic links that the last part of `name` leads through, also where the
/// last of them leads to nothing: the file that would be created.
std::string behindLinks(const std::string& name);

/// The directory that the name is looked up in; "." where it names none.
std::string directoryOf(const std::string& name);

/// What the name is called in its directory.
std::string lastPartOf(const std::string& name);

/// A place in a directory. Two names with equal places are one file, or will be once it is created.
struct FilePlace {
  explicit FilePlace(const std::string& name);

  bool isKnown = false;  ///< false where the directory cannot be reached
  dev_t device = 0;
  ino_t node = 0;     ///< of the file where it exists, else of its directory
  std::string entry;  ///< empty where the file exists, else its name in the directory
};

/// Places that are not known are equal to none.
bool operator==(const FilePlace& a, const FilePlace& b);

#endif
