// An instance's directory and configuration file.
#ifndef PLATFORM_INSTANCE_READINSTANCECONFIGURATION_H
#define PLATFORM_INSTANCE_READINSTANCECONFIGURATION_H

#include <array>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace QuorInstanceUtils {

/// A fault of an instance; the numbers are those of the message catalog, set 33, and the arguments
/// are the message's.
struct InstanceFault {
  enum class Kind {
    badName = 1,
    noDirectory = 2,
    unreadableConfiguration = 3,
    noKey = 4,
    unknownKey = 5,
    noValue = 6,
    unreadableSchema = 7,
    emptyDirectory = 8,  ///< a warning: the instance can be used
  };
  Kind kind;
  std::vector<std::string> arguments;
};

using InstanceFaultSink = std::function<void(const InstanceFault&)>;

/// The directory in which instances are found by name, fixed when built.
std::string instanceRegistry();

/// 1 to 64 letters, digits, `-`, `_`, `.`, not starting with `.`.
bool isInstanceName(std::string_view name);

/// The directory of an instance: a text with a `/` in it is its path, any other a name in the
/// registry. Empty where it is neither.
std::string instanceDirectory(const std::string& instance);

/// The configuration file in an instance's directory.
std::string instanceConfigurationFile(const std::string& directory);

/// The schema files of the kinds 0 (systemschema) and 1 (userschema), in order.
using SchemaFileLists = std::array<std::vector<std::string>, 2>;

/// Reads `configFile`: lines `systemschema: PATH` and `userschema: PATH`, with keys in any case and
/// blanks around key and PATH; `#` comments and empty lines. A PATH is a file, or a directory whose
/// files *.schema and *.ldif are taken in byte order, those that begin with `.` left out; one that
/// does not begin with `/` is relative to `directory`. Every fault is given to `sink`, and the line
/// at fault adds no file.
SchemaFileLists readInstanceConfiguration(const std::string& instance, const std::string& directory,
                                          const std::string& configFile,
                                          const InstanceFaultSink& sink);

}  // namespace QuorInstanceUtils

#endif
