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

/// Where a definition stands.
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

/// Collects the definitions of all schema files and makes a schema of them. Every fault is given to
/// the sink and counted.
class Builder {
 public:
  explicit Builder(ProblemSink sink) : sink_(std::move(sink)) {}

  void report(const Problem& problem);
  std::size_t problemCount() const { return problemCount_; }

  /// Adds an attribute type. If an earlier one has the same OID, the new one takes its place, so
  /// that a user's schema file can override the system's. That is reported if the two differ in
  /// anything that normal forms depend on: the names, SUP or EQUALITY. If an attribute type of
  /// another OID has one of its names, that is reported and the new one is left out.
  void addAttributeType(AttributeDefinition definition);

  /// Adds the names of a definition that is no attribute type. A name that an earlier one has
  /// stays with that one.
  void addOtherNames(const std::vector<std::string_view>& names, const std::string& oid);

  /// Adds slapd's macro: `name` stands for `oid`. A later definition of the same name takes the
  /// place of an earlier one and is reported if it differs.
  void addMacro(std::string_view name, const std::string& oid, const Place& place);

  /// The OID that `macro` or `macro:1.2` stands for; nothing where there is no such macro.
  std::optional<std::string> expandMacro(std::string_view text) const;

  /// Gives each attribute type what it inherits from its supertypes, reports and leaves out those
  /// whose supertypes are missing or lead back to themselves, and returns all the others. Leaves
  /// the builder empty.
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
