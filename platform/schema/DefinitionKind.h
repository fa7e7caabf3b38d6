// The kinds of schema definitions (RFC 4512, section 4.1) with their keywords and fields.
#ifndef PLATFORM_SCHEMA_DEFINITIONKIND_H
#define PLATFORM_SCHEMA_DEFINITIONKIND_H

#include <span>
#include <string_view>

#include "platform/schema/LogicalLine.h"

namespace schema {

/// How the value of a field is written; the names are RFC 4512's.
enum class ValueForm { flag, qdescrs, qdstring, oid, oids, noidlen, usage, ruleIds };

/// One field that a description may have after its identifier, at most once, in any place.
struct Field {
  std::string_view keyword;
  ValueForm form;
};

/// What a definition describes. `objectIdentifier` is slapd's macro: a name for an OID.
enum class DefinitionType {
  attributeType,
  objectClass,
  ldapSyntax,
  matchingRule,
  matchingRuleUse,
  ditContentRule,
  ditStructureRule,
  nameForm,
  objectIdentifier
};

struct DefinitionKind {
  DefinitionType type;
  std::string_view directive;      ///< keyword in .schema files, in lower case
  std::string_view attribute;      ///< type in subschema files, empty where they have none
  std::string_view configuration;  ///< type in configuration files
  std::span<const Field> fields;
};

/// The kind that a keyword stands for, in any case, in a file of that form; a null pointer where it
/// stands for none.
const DefinitionKind* findDefinitionKind(FileForm form, std::string_view keyword);

}  // namespace schema

#endif
