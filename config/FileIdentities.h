// Which file is which, whatever its name says.
#ifndef CONFIG_FILEIDENTITIES_H
#define CONFIG_FILEIDENTITIES_H

#include <sys/types.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

/// What a file is to the run.
enum class FileRole { configuration, input, log, output };

/// The files of a run by device and inode, so that every spelling of a name and every link to a
/// file is that file. Only regular files count: devices, pipes and sockets keep nothing that a
/// second use could destroy.
class FileIdentities {
 public:
  /// Remembers the file as it is now; a name of nothing, or of no regular file, is none. False
  /// where the system does not tell what the name is, with its reason in errno.
  bool add(const std::string& name, FileRole role);

  /// Whether what `name` is now cannot have that role: it is a file with another role, or an output
  /// under another name. One name may stand for several outputs, which then share one stream; the
  /// configuration and the input, which are only read, may be one file. True too where the system
  /// does not tell what the name is: only then is errno other than 0 behind the call.
  bool isTaken(const std::string& name, FileRole role) const;

 private:
  using Identity = std::pair<dev_t, ino_t>;

  struct Use {
    std::string name;
    FileRole role;
  };

  std::map<Identity, std::vector<Use>> uses_;
};

#endif
