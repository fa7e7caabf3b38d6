// The schema while its files are read.
#ifndef PLATFORM_SCHEMA_BUILDER_H
#define PLATFORM_SCHEMA_BUILDER_H

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/schema/NameMap.h"
#include "platform/schema/Schema.h"
#include "platform/schema/SupertypeChains.h"

namespace schema {

/// What is wrong at a place of a schema file; the numbers are those of the message catalog.
struct Problem {
  enum class Kind {
    unreadableFile = 20,
    badDefinition = 21,
    strayLine = 22,
    moreStrayLines = 23,
    redefinition = 24,
    missingSupertype = 25,
    supertypeCycle = 26,
  };
  Kind kind;
  std::string file;
  std::size_t line;    ///< from 1; 0 where the whole file is meant
  std::string reason;  ///< one line
};

/// Receives each problem as it is found.
using ProblemSink = std::function<void(const Problem&)>;

/// A definition's place.
struct Place {
  std::string file;
  std::size_t line;
};

/// An attribute type as a file defines it, macros in the OID resolved.
struct AttributeDefinition {
  std::string oid;
  std::vector<std::string> names;
  std::string supertype;                 ///< name, OID or macro; empty for none
  std::optional<EqualityRule> equality;  ///< empty where there is no EQUALITY
  Place place;
};

/// Collects definitions and makes a Schema of them. Every fault goes to the sink and is counted.
class Builder {
 public:
  explicit Builder(ProblemSink sink) : sink_(std::move(sink)) {}

  void report(const Problem& problem);
  std::size_t problemCount() const { return problemCount_; }

  /// Adds an attribute type. One with the OID of an earlier one takes its place, so that a user's
  /// schema file can override the system's; unless the two agree in all that normal forms depend on
  /// (names, SUP, EQUALITY), that is reported. One that claims a name of another OID is reported
  /// and left out.
  void addAttributeType(AttributeDefinition definition);

  /// Adds the names of a definition that is no attribute type; the first to claim a name has it.
  void addOtherNames(const std::vector<std::string_view>& names, const std::string& oid);

  /// Adds slapd's macro: `name` stands for `oid`. A later definition of the same name takes the
  /// place of an earlier one and is reported if it differs.
  void addMacro(std::string_view name, const std::string& oid, const Place& place);

  /// The OID that `macro` or `macro:1.2` stands for; nothing where there is no such macro.
  std::optional<std::string> expandMacro(std::string_view text) const;

  /// Resolves the chains of supertypes, reports those that cannot be resolved, and makes the schema
  /// of the others. Leaves the builder empty.
  Definitions complete();

 private:
  bool claimsForeignKey(const AttributeDefinition& definition);
  bool belongsToAnother(std::string_view key, const AttributeDefinition& definition);
  void indexNames(std::size_t position);
  void replace(std::size_t position, AttributeDefinition definition);
  std::size_t findSupertype(const std::string& supertype) const;
  SupertypeChains supertypeChains() const;
  void reportBrokenChain(const AttributeDefinition& definition, SupertypeChains::State state);

  ProblemSink sink_;
  std::size_t problemCount_ = 0;
  std::vector<AttributeDefinition> definitions_;
  NameMap<std::string, std::size_t> byKey_;       ///< places in definitions_ by name and OID
  NameMap<std::string, std::string> otherNames_;  ///< OIDs by name
  NameMap<std::string, std::string> macros_;      ///< OIDs by name
};

}  // namespace schema

#endif
