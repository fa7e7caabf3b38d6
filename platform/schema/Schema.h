// The attribute types of a loaded schema, as DN normalisation asks for them.
#ifndef PLATFORM_SCHEMA_SCHEMA_H
#define PLATFORM_SCHEMA_SCHEMA_H

#include <string>
#include <string_view>
#include <vector>

#include "platform/schema/NameMap.h"

namespace schema {

/// How two values of an attribute compare for equality (RFC 4517, section 4.2); the rules that DN
/// normalisation treats in ways of their own. `none`: neither the attribute type nor any of its
/// supertypes has an EQUALITY rule, or the rule is not listed here.
enum class EqualityRule {
  none,
  caseIgnore,
  caseIgnoreIA5,
  caseIgnoreList,
  caseExact,
  caseExactIA5,
  distinguishedName,
  integer,
  numericString,
  telephoneNumber,
  boolean,
  generalizedTime,
  objectIdentifier,
  octetString,
  bitString,
};

/// An attribute type (RFC 4512, section 4.1.2), with what it inherits from its supertypes (SUP).
struct AttributeType {
  std::string oid;                 ///< dotted number, without macros
  std::vector<std::string> names;  ///< as written, first name first; may be empty
  std::string canonicalType;       ///< first name in upper case, or the OID where there is no name
  EqualityRule equality = EqualityRule::none;
};

/// What a schema is made of.
struct Definitions {
  std::vector<AttributeType> attributeTypes;
  /// The dotted numbers of the definitions that are no attribute types, by their names.
  NameMap<std::string, std::string> otherNames;
};

/// An immutable set of definitions.
class Schema {
 public:
  /// Each number and name of the attribute types finds its type; where two have the same name the
  /// earlier one is found.
  explicit Schema(Definitions definitions);
  Schema(const Schema&) = delete;
  Schema& operator=(const Schema&) = delete;

  /// The attribute type of that name, in any case, or dotted number (without an "oid." prefix); a
  /// null pointer where the schema has none. Allocates nothing. The result lives as long as this
  /// object.
  const AttributeType* findAttributeType(std::string_view type) const;

  /// The dotted number of the definition of that name, of whatever kind, in any case; empty where
  /// the schema has none. Lives as long as this object.
  std::string_view findObjectIdentifier(std::string_view name) const;

 private:
  void addKey(std::string_view key, const AttributeType& type);

  const std::vector<AttributeType> attributeTypes_;
  const NameMap<std::string, std::string> otherNames_;
  NameMap<std::string_view, const AttributeType*> byName_;  ///< points into attributeTypes_
};

/// The schema that the last ldcf_api_schema_complete() published, or a null pointer. May be called
/// from any thread; the result stays valid to the end of the process.
const Schema* loadedSchema();

}  // namespace schema

#endif
