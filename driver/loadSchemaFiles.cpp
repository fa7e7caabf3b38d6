#include "driver/loadSchemaFiles.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "platform/instance/CfgInst.h"
#include "platform/instance/validateCmdUtility.h"
#include "platform/messages/PrintMessage.h"
#include "platform/schema/ldcf_api_schema.h"
#include "platform/trace/trace.h"

char* g_configFile = nullptr;

namespace {

using QuorInstanceUtils::CfgInst;

/// The schema files of one kind; the instance has to outlive the list.
class SchemaFiles {
 public:
  SchemaFiles(CfgInst& instance, CfgInst::SchemaKind kind) : instance_(instance) {
    instance_.querySchemaFiles(kind, &files_, &count_);
  }
  ~SchemaFiles() { instance_.freeSchemaFiles(files_); }
  SchemaFiles(const SchemaFiles&) = delete;
  SchemaFiles& operator=(const SchemaFiles&) = delete;

  void parseAll() const {
    for (int i = 0; i < count_; ++i) {
      TRACE(traceProgress, "Processing schema:  filename = %s\n", files_[i]);
      ldcf_api_schema_parse(files_[i]);
    }
  }

 private:
  CfgInst& instance_;
  char** files_ = nullptr;
  int count_ = 0;
};

void print(const char* problem, void* /*context*/) {
  printMessageLine(problem);
}

/// Checks the instance and sets g_configFile to its configuration file; a fault ends the process.
/// Returns the name as validateCmdUtility left it; the caller frees it.
char* validated(char* name) {
  g_configFile = nullptr;
  if (validateCmdUtility(&name, &g_configFile, 1, 0, 0, 0) != 0) {
    std::exit(1);
  }
  return name;
}

char* duplicate(const std::string& text) {
  char* const copy = ::strdup(text.c_str());
  if (copy == nullptr) {
    throw std::bad_alloc();
  }
  return copy;
}

}  // namespace

void loadSchemaFiles(const std::string& instanceName) {
  ldcf_api_schema_report_to(print, nullptr);
  ldcf_api_schema_init();
  const std::unique_ptr<char, decltype(&std::free)> name(validated(duplicate(instanceName)),
                                                         &std::free);
  TRACE(traceProgress, "Reading schema from configuration file %s\n", g_configFile);
  CfgInst instance(name.get(), nullptr, true);
  if (!instance.isComplete()) {
    // Without all of the schema, entries would go to other files, and nobody would know.
    PrintMessage(33, 1, 3, name.get(), g_configFile,
                 "it or a schema file of it could be read before, and cannot be read any more");
    std::exit(1);
  }
  SchemaFiles(instance, CfgInst::systemSchema).parseAll();
  const SchemaFiles userFiles(instance, CfgInst::userSchema);
  userFiles.parseAll();
  ldcf_api_schema_complete();
}
