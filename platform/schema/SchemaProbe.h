// For tests: a builder that keeps the problems it reports.
#ifndef PLATFORM_SCHEMA_SCHEMAPROBE_H
#define PLATFORM_SCHEMA_SCHEMAPROBE_H

#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/schema/Builder.h"
#include "platform/schema/parseText.h"

namespace schema {

inline void PrintTo(const Problem& problem, std::ostream* out) {
  *out << static_cast<int>(problem.kind) << ' ' << problem.file << ", line " << problem.line << ": "
       << problem.reason;
}

class SchemaProbe {
 public:
  SchemaProbe() : builder_([this](const Problem& problem) { problems_.push_back(problem); }) {}

  SchemaProbe& parse(std::string_view text, const std::string& file = "file") {
    parseText(text, file, builder_);
    return *this;
  }

  std::size_t count(DefinitionType type = DefinitionType::attributeType) const {
    return builder_.countOf(type);
  }

  const std::vector<Problem>& problems() const { return problems_; }

  /// The problems of one kind.
  std::vector<Problem> problems(Problem::Kind kind) const {
    std::vector<Problem> some;
    for (const Problem& problem : problems_) {
      if (problem.kind == kind) {
        some.push_back(problem);
      }
    }
    return some;
  }

  std::unique_ptr<Schema> complete() { return builder_.complete(); }
  Builder& builder() { return builder_; }

 private:
  std::vector<Problem> problems_;
  Builder builder_;
};

}  // namespace schema

#endif
