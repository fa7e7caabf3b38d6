// The equality matching rules of RFC 4517, section 4.2, by name or number.
#ifndef PLATFORM_SCHEMA_EQUALITYRULEOF_H
#define PLATFORM_SCHEMA_EQUALITYRULEOF_H

#include <string_view>

#include "platform/schema/Schema.h"

namespace schema {

/// The rule of that name, in any case, or dotted number; `none` for every other text.
EqualityRule equalityRuleOf(std::string_view matchingRule);

}  // namespace schema

#endif
