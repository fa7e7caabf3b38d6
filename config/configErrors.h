// The faults of a configuration: each function prints its catalog message and throws a
// VarnelConfigException. `line` is the line of the configuration file, 0 for none in particular.
#ifndef CONFIG_CONFIGERRORS_H
#define CONFIG_CONFIGERRORS_H

#include <string>

/// A key that may stand once stands again. Message 48.
[[noreturn]] void throwMultipleKeyError(const std::string& key, int line);

/// A key that may stand several times has a value that it had before. Message 17.
[[noreturn]] void throwMultipleValueError(const std::string& key, const std::string& value,
                                          int line);

/// The key does not exist or may not stand here. Message 4, or 19 where `splitBy` names the split
/// method that forbids it.
[[noreturn]] void throwIllegalKeyError(const std::string& key, int line,
                                       const std::string& splitBy);

/// The key cannot have that value. Message 6.
[[noreturn]] void throwIllegalValueError(const std::string& key, const std::string& value,
                                         int line);

/// A key that must stand is missing. Message 51, or 49 for line 0.
[[noreturn]] void throwMissingKeyError(const std::string& key, int line);

/// A file does not exist, or cannot be opened or created. Message 7.
[[noreturn]] void throwUnableToOpenFileError(const std::string& name, int line);

/// An output file exists already. Message 8.
[[noreturn]] void throwFileExistsError(const std::string& name, int line);

#endif
