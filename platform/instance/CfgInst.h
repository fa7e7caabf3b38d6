// What a server instance's configuration says.
#ifndef PLATFORM_INSTANCE_CFGINST_H
#define PLATFORM_INSTANCE_CFGINST_H

#include <string>
#include <vector>

namespace QuorInstanceUtils {

/// The configuration of one instance, as it stood at construction.
class CfgInst {
 public:
  /// Kinds of schema file lists.
  enum SchemaKind {
    systemSchema = 0,  ///< from the lines `systemschema: PATH`
    userSchema = 1     ///< from the lines `userschema: PATH`
  };

  /// Reads the configuration of `instance`, a name or the path of a directory. `configFile` is read
  /// in place of the instance's own instance.conf unless it is a null pointer. What cannot be read
  /// is missing from the lists, without a message: validateCmdUtility reports it. `readOnly` makes
  /// no difference: nothing is ever written.
  CfgInst(const char* instance, const char* configFile, bool readOnly);

  /// Sets `*files` to the paths of the schema files of that kind in the order of the configuration,
  /// and `*count` to how many there are. The list is for freeSchemaFiles; it is a null pointer
  /// where there are none. Returns 0, or nonzero for a kind that does not exist or for lack of
  /// memory, with an empty list.
  int querySchemaFiles(int kind, char*** files, int* count) const;

  /// Frees a list of querySchemaFiles; a null pointer is no list.
  static void freeSchemaFiles(char** files);

 private:
  std::vector<std::string> lists_[2];
};

}  // namespace QuorInstanceUtils

#endif
