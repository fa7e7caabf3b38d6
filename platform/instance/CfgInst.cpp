#include "platform/instance/CfgInst.h"

#include <cstdlib>
#include <cstring>
#include <utility>

#include "platform/instance/readInstanceConfiguration.h"

namespace QuorInstanceUtils {

CfgInst::CfgInst(const char* instance, const char* configFile, bool /*readOnly*/) {
  const std::string name = instance != nullptr ? instance : "";
  const std::string directory = instanceDirectory(name);
  const std::string file =
      configFile != nullptr ? configFile : instanceConfigurationFile(directory);
  if (directory.empty()) {
    return;
  }
  SchemaFileLists lists =
      readInstanceConfiguration(name, directory, file, [](const InstanceFault&) {});
  lists_[systemSchema] = std::move(lists[systemSchema]);
  lists_[userSchema] = std::move(lists[userSchema]);
}

int CfgInst::querySchemaFiles(int kind, char*** files, int* count) const {
  *files = nullptr;
  *count = 0;
  if (kind != systemSchema && kind != userSchema) {
    return 1;
  }
  const std::vector<std::string>& list = lists_[kind];
  if (list.empty()) {
    return 0;
  }
  // A null pointer behind the last text tells freeSchemaFiles where the list ends.
  auto* const texts = static_cast<char**>(std::calloc(list.size() + 1, sizeof(char*)));
  if (texts == nullptr) {
    return 1;
  }
  for (std::size_t i = 0; i < list.size(); ++i) {
    texts[i] = strdup(list[i].c_str());
    if (texts[i] == nullptr) {
      freeSchemaFiles(texts);
      return 1;
    }
  }
  *files = texts;
  *count = static_cast<int>(list.size());
  return 0;
}

void CfgInst::freeSchemaFiles(char** files) {
  for (char** file = files; file != nullptr && *file != nullptr; ++file) {
    std::free(*file);
  }
  std::free(static_cast<void*>(files));
}

}  // namespace QuorInstanceUtils
