#include "platform/schema/DefinitionKind.h"

#include "platform/text/equalIgnoringCase.h"

namespace schema {

namespace {

constexpr Field attributeTypeFields[] = {
    {"NAME", ValueForm::qdescrs},
    {"DESC", ValueForm::qdstring},
    {"OBSOLETE", ValueForm::flag},
    {"SUP", ValueForm::oid},
    {"EQUALITY", ValueForm::oid},
    {"ORDERING", ValueForm::oid},
    {"SUBSTR", ValueForm::oid},
    {"SYNTAX", ValueForm::noidlen},
    {"SINGLE-VALUE", ValueForm::flag},
    {"COLLECTIVE", ValueForm::flag},
    {"NO-USER-MODIFICATION", ValueForm::flag},
    {"USAGE", ValueForm::usage},
};

constexpr Field objectClassFields[] = {
    {"NAME", ValueForm::qdescrs},   {"DESC", ValueForm::qdstring}, {"OBSOLETE", ValueForm::flag},
    {"SUP", ValueForm::oids},       {"ABSTRACT", ValueForm::flag}, {"STRUCTURAL", ValueForm::flag},
    {"AUXILIARY", ValueForm::flag}, {"MUST", ValueForm::oids},     {"MAY", ValueForm::oids},
};

/// RFC 4512 has no NAME here, but slapd's own files do.
constexpr Field ldapSyntaxFields[] = {
    {"NAME", ValueForm::qdescrs},
    {"DESC", ValueForm::qdstring},
};

constexpr Field matchingRuleFields[] = {
    {"NAME", ValueForm::qdescrs},
    {"DESC", ValueForm::qdstring},
    {"OBSOLETE", ValueForm::flag},
    {"SYNTAX", ValueForm::noidlen},
};

constexpr Field matchingRuleUseFields[] = {
    {"NAME", ValueForm::qdescrs},
    {"DESC", ValueForm::qdstring},
    {"OBSOLETE", ValueForm::flag},
    {"APPLIES", ValueForm::oids},
};

constexpr Field ditContentRuleFields[] = {
    {"NAME", ValueForm::qdescrs}, {"DESC", ValueForm::qdstring}, {"OBSOLETE", ValueForm::flag},
    {"AUX", ValueForm::oids},     {"MUST", ValueForm::oids},     {"MAY", ValueForm::oids},
    {"NOT", ValueForm::oids},
};

constexpr Field ditStructureRuleFields[] = {
    {"NAME", ValueForm::qdescrs}, {"DESC", ValueForm::qdstring}, {"OBSOLETE", ValueForm::flag},
    {"FORM", ValueForm::oid},     {"SUP", ValueForm::ruleIds},
};

constexpr Field nameFormFields[] = {
    {"NAME", ValueForm::qdescrs}, {"DESC", ValueForm::qdstring}, {"OBSOLETE", ValueForm::flag},
    {"OC", ValueForm::oid},       {"MUST", ValueForm::oids},     {"MAY", ValueForm::oids},
};

constexpr DefinitionKind kinds[] = {
    {DefinitionType::attributeType, "attributetype", "attributeTypes", "olcAttributeTypes",
     attributeTypeFields},
    {DefinitionType::objectClass, "objectclass", "objectClasses", "olcObjectClasses",
     objectClassFields},
    {DefinitionType::ldapSyntax, "ldapsyntax", "ldapSyntaxes", "olcLdapSyntaxes", ldapSyntaxFields},
    {DefinitionType::matchingRule, "matchingrule", "matchingRules", "olcMatchingRules",
     matchingRuleFields},
    {DefinitionType::matchingRuleUse, "matchingruleuse", "matchingRuleUse", "olcMatchingRuleUse",
     matchingRuleUseFields},
    {DefinitionType::ditContentRule, "ditcontentrule", "dITContentRules", "olcDitContentRules",
     ditContentRuleFields},
    {DefinitionType::ditStructureRule, "ditstructurerule", "dITStructureRules",
     "olcDitStructureRules", ditStructureRuleFields},
    {DefinitionType::nameForm, "nameform", "nameForms", "olcNameForms", nameFormFields},
    {DefinitionType::objectIdentifier, "objectidentifier", "", "olcObjectIdentifier", {}},
};

bool standsFor(FileForm form, std::string_view keyword, const DefinitionKind& kind) {
  if (form == FileForm::directives) {
    return text::equalIgnoringCase(keyword, kind.directive);
  }
  return text::equalIgnoringCase(keyword, kind.attribute) ||
         text::equalIgnoringCase(keyword, kind.configuration);
}

}  // namespace

const DefinitionKind* findDefinitionKind(FileForm form, std::string_view keyword) {
  for (const DefinitionKind& kind : kinds) {
    if (!keyword.empty() && standsFor(form, keyword, kind)) {
      return &kind;
    }
  }
  return nullptr;
}

}  // namespace schema
