// One definition of a schema file, taken apart (RFC 4512, section 4.1).
#ifndef PLATFORM_SCHEMA_DESCRIPTION_H
#define PLATFORM_SCHEMA_DESCRIPTION_H

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/schema/DefinitionKind.h"

namespace schema {

/// A definition's fault. `what()` is the reason as the user reads it, with the offending token in
/// it on one line of printable ASCII; `offset` is where in the definition's text it stands.
class DefinitionError : public std::runtime_error {
 public:
  DefinitionError(std::size_t offset, const std::string& reason)
      : std::runtime_error(reason), offset_(offset) {}

  std::size_t offset() const { return offset_; }

 private:
  std::size_t offset_;
};

/// A field that a description has. `values` holds its names, its OIDs, or its texts without the
/// quotes around them (escapes in them stay as they are). A flag such as OBSOLETE has no values. Of
/// `SYNTAX 1.2{64}` the length in braces is left out.
struct FieldValue {
  const Field* field;
  std::vector<std::string_view> values;
};

/// A description; its views point into the text that it was parsed from.
struct Description {
  std::string_view identifier;  ///< dotted number, name or macro; of a structure rule its number
  std::size_t identifierOffset = 0;
  std::vector<FieldValue> fields;  ///< without the extensions

  /// The values of a field, empty where the description does not have it.
  const std::vector<std::string_view>& values(std::string_view keyword) const;
};

/// Reads `( identifier fields )`, with a prefix of the form {n} allowed before it. Fields may stand
/// in any order and their keywords in any case; OIDs and names may be quoted or not. Both are found
/// in files that servers read. Throws DefinitionError.
Description parseDescription(std::string_view text, const DefinitionKind& kind);

/// The text without a leading {n}, by which configuration files number the values of a type.
std::string_view withoutOrderingPrefix(std::string_view text);

/// A token as a message shows it: in double quotes, other bytes than printable ASCII as `\` and two
/// hexadecimal digits, and cut after 40 bytes.
std::string shown(std::string_view token);

}  // namespace schema

#endif
