#include "platform/schema/ldcf_api_schema.h"

#include <atomic>
#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/messages/PrintMessage.h"
#include "platform/schema/Builder.h"
#include "platform/schema/Schema.h"
#include "platform/schema/parseText.h"
#include "platform/schema/readSchemaFile.h"

namespace schema {

namespace {

constexpr int messageSet = 33;

std::atomic<const Schema*> published{nullptr};

/// The schema that is being read, between init and complete; a null pointer otherwise.
std::unique_ptr<Builder>& begun() {
  static std::unique_ptr<Builder> builder;
  return builder;
}

/// Keeps a schema to the end of the process and never destroys it. Somebody may still use a schema
/// that another has replaced, and other threads may use one while the process ends.
const Schema* kept(std::unique_ptr<Schema> schema) {
  static auto* all = new std::vector<std::unique_ptr<Schema>>;
  all->push_back(std::move(schema));
  return all->back().get();
}

struct Reporter {
  void (*report)(const char* line, void* context) = nullptr;
  void* context = nullptr;
};

Reporter reporter;

void report(const Problem& problem) {
  if (reporter.report == nullptr) {
    return;
  }
  const std::string line = std::to_string(problem.line);
  std::vector<const char*> arguments = {problem.file.c_str(), problem.reason.c_str()};
  if (problem.line != 0) {
    arguments.insert(arguments.begin() + 1, line.c_str());
  }
  const std::string message = messageLineOf(messageSet, static_cast<int>(problem.kind),
                                            arguments.data(), static_cast<int>(arguments.size()));
  reporter.report(message.c_str(), reporter.context);
}

Builder& builderInUse() {
  if (begun() == nullptr) {
    begun() = std::make_unique<Builder>(report);
  }
  return *begun();
}

void parseFile(const std::string& file, Builder& builder) {
  std::string text;
  const std::string fault = readSchemaFile(file, text);
  if (fault.empty()) {
    parseText(text, file, builder);
  } else {
    builder.report({Problem::Kind::unreadableFile, file, 0, fault});
  }
}

void publish(Builder& builder) {
  const Schema* schema = kept(std::make_unique<Schema>(builder.complete()));
  published.store(schema, std::memory_order_release);
}

/// Runs one step of loading. Returns how many problems it reported. An exception (only lack of
/// memory throws one here) is reported as a problem of the file.
template <typename Step>
int problemsOf(const std::string& file, Step step) {
  Builder& builder = builderInUse();
  const std::size_t before = builder.problemCount();
  try {
    step(builder);
  } catch (const std::exception& error) {
    builder.report({Problem::Kind::unreadableFile, file, 0, error.what()});
  }
  return static_cast<int>(builder.problemCount() - before);
}

}  // namespace

const Schema* loadedSchema() {
  return published.load(std::memory_order_acquire);
}

}  // namespace schema

void ldcf_api_schema_report_to(void (*report)(const char* line, void* context), void* context) {
  schema::reporter = {report, context};
}

int ldcf_api_schema_init() {
  schema::begun().reset();
  return 0;
}

int ldcf_api_schema_parse(const char* file) {
  const std::string name = file != nullptr ? file : "";
  return schema::problemsOf(name,
                            [&](schema::Builder& builder) { schema::parseFile(name, builder); });
}

int ldcf_api_schema_complete() {
  const int problems = schema::problemsOf("(all schema files)", schema::publish);
  schema::begun().reset();
  return problems;
}
