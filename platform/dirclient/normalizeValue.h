// Attribute values as their matching rule compares them.
#ifndef PLATFORM_DIRCLIENT_NORMALIZEVALUE_H
#define PLATFORM_DIRCLIENT_NORMALIZEVALUE_H

#include <memory_resource>
#include <string>
#include <string_view>

#include "platform/schema/Schema.h"

namespace dirclient {

/// Appends `value`, the bytes that an assertion stands for, in the normal form of `rule` and
/// escaped for a DN. A value that is not of the rule's syntax is taken as for caseIgnoreMatch; one
/// that is not UTF-8 is kept byte for byte, with ASCII letters in upper case where the rule ignores
/// case. Values that are DNs are normalised by `schema`; `nesting` counts the DNs around this
/// value. `value` must not lie in `text`.
void appendNormalValue(std::string_view value, schema::EqualityRule rule,
                       const schema::Schema* schema, int nesting, std::pmr::string& text);

/// Appends `value` with the escapes of the normal form.
void appendEscaped(std::string_view value, std::pmr::string& text);

}  // namespace dirclient

#endif
