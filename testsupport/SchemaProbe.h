// Reads schema files as a test wants them read: into a schema of its own, with every problem kept.
#ifndef TESTSUPPORT_SCHEMAPROBE_H
#define TESTSUPPORT_SCHEMAPROBE_H

#include <cstddef>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/schema/Builder.h"
#include "platform/schema/parseText.h"

namespace schema {

inline void PrintTo(const Problem& problem, std::ostream* out) {
  *out << static_cast<int>(problem.kind) << ' ' << problem.file << ", line " << problem.line << ": "
       << problem.reason;
}

/// Used for one schema: parse() any number of times, then complete().
class SchemaProbe {
 public:
  SchemaProbe() : builder_([this](const Problem& problem) { problems_.push_back(problem); }) {}

  SchemaProbe& parse(std::string_view text, const std::string& file = "file") {
    parseText(text, file, builder_);
    return *this;
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

  /// Ends the reading, and gives the schema that came of it.
  std::unique_ptr<Schema> complete() {
    Definitions definitions = builder_.complete();
    attributeTypeCount_ = definitions.attributeTypes.size();
    otherNameCount_ = definitions.otherNames.size();
    return std::make_unique<Schema>(std::move(definitions));
  }

  /// How many attribute types the completed schema holds.
  std::size_t attributeTypeCount() const { return attributeTypeCount_; }

  /// How many names of other definitions the completed schema holds.
  std::size_t otherNameCount() const { return otherNameCount_; }

  /// How many attribute types were read until completion: those that the schema holds and those
  /// that it leaves out for their supertypes. A redefinition does not count.
  std::size_t readCount() const {
    return attributeTypeCount_ + problems(Problem::Kind::missingSupertype).size() +
           problems(Problem::Kind::supertypeCycle).size();
  }

  Builder& builder() { return builder_; }

 private:
  std::vector<Problem> problems_;
  Builder builder_;
  std::size_t attributeTypeCount_ = 0;
  std::size_t otherNameCount_ = 0;
};

}  // namespace schema

#endif
