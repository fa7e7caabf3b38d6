#include "platform/instance/validateCmdUtility.h"

#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "platform/instance/readInstanceConfiguration.h"
#include "platform/messages/PrintMessage.h"

namespace {

using QuorInstanceUtils::InstanceFault;

constexpr int messageSet = 33;

void print(const InstanceFault& fault) {
  std::vector<const char*> arguments;
  for (const std::string& argument : fault.arguments) {
    arguments.push_back(argument.c_str());
  }
  printMessageWithArguments(messageSet, static_cast<int>(fault.kind), arguments.data(),
                            static_cast<int>(arguments.size()));
}

/// Prints faults and remembers whether the instance can be used.
class FaultPrinter {
 public:
  void operator()(const InstanceFault& fault) {
    print(fault);
    usable_ = usable_ && fault.kind == InstanceFault::Kind::emptyDirectory;
  }

  bool usable() const { return usable_; }

 private:
  bool usable_ = true;
};

}  // namespace

int validateCmdUtility(char** instanceName, char** configFile, int, int, int, int) {
  const std::string instance = *instanceName != nullptr ? *instanceName : "";
  *configFile = nullptr;
  FaultPrinter printer;
  const std::string directory = QuorInstanceUtils::instanceDirectory(instance);
  std::error_code ignored;
  if (directory.empty()) {
    printer({InstanceFault::Kind::badName, {instance}});
  } else if (!std::filesystem::is_directory(directory, ignored)) {
    printer({InstanceFault::Kind::noDirectory, {instance, directory}});
  } else {
    const std::string file = QuorInstanceUtils::instanceConfigurationFile(directory);
    *configFile = strdup(file.c_str());
    QuorInstanceUtils::readInstanceConfiguration(instance, directory, file, std::ref(printer));
  }
  return printer.usable() ? 0 : 1;
}
