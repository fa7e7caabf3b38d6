// The attribute types of a loaded schema, as DN normalisation asks for them.
#ifndef PLATFORM_SCHEMA_SCHEMA_H
#define PLATFORM_SCHEMA_SCHEMA_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace schema {

/// How two values of an attribute compare for equality (RFC 4517, section 4.2), as far as DN
/// normalisation tells rules apart. `none`: no EQUALITY rule in the chain of supertypes, or one
/// that is not listed here.
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

/// An attribute type (RFC 4512, section 4.1.2) after inheritance through SUP.
struct AttributeType {
  std::string oid;                 ///< dotted number, macros resolved
  std::vector<std::string> names;  ///< as written, first name first; may be empty
  std::string canonicalType;       ///< first name in upper case, or the OID where there is no name
  EqualityRule equality = EqualityRule::none;
};

/// An immutable set of definitions.
class Schema {
 public:
  virtual ~Schema() = default;

  /// The attribute type of that name, in any case, or dotted number (without an "oid." prefix); a
  /// null pointer where the schema has none. Allocates nothing. The result lives as long as this
  /// object.
  virtual const AttributeType* findAttributeType(std::string_view type) const = 0;

  /// The dotted number of the definition of that name, of whatever kind, in any case; empty where
  /// the schema has none. Lives as long as this object.
  virtual std::string_view findObjectIdentifier(std::string_view name) const = 0;

  /// How many attribute types the schema holds.
  virtual std::size_t attributeTypeCount() const = 0;
};

/// The schema that the last ldcf_api_schema_complete() published, or a null pointer. May be called
/// from any thread; the result stays valid to the end of the process.
const Schema* loadedSchema();

}  // namespace schema

#endif
