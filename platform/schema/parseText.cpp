#include "platform/schema/parseText.h"

#include <cstddef>
#include <optional>
#include <utility>

#include "platform/schema/Description.h"
#include "platform/schema/LogicalLine.h"
#include "platform/schema/equalityRuleOf.h"
#include "platform/schema/isNumericOid.h"
#include "platform/text/ascii.h"
#include "platform/text/base64.h"
#include "platform/text/equalIgnoringCase.h"
#include "platform/text/withoutOuter.h"

namespace schema {

namespace {

/// Macros that build on macros could otherwise make OIDs that grow with every line of a file.
constexpr std::size_t longestOid = 4096;

/// Whether a value looks like a description, whatever its keyword.
bool isParenthesised(std::string_view value) {
  return text::withoutOuter(text::isAsciiWhiteSpace, value).starts_with('(');
}

class FileParser {
 public:
  FileParser(std::string_view text, const std::string& fileName, Builder& builder)
      : reader_(text), fileName_(fileName), builder_(builder) {}

  void run();

 private:
  void ldifLine();
  void ldifValue(const DefinitionKind& kind, std::string_view value);
  void directiveLine();
  void definition(const DefinitionKind& kind, std::string_view value);
  void description(const DefinitionKind& kind, std::string_view text);
  void attributeType(const Description& description, std::string oid);
  void macro(std::string_view text);
  std::string resolvedOid(std::string_view text, std::size_t offset) const;
  EqualityRule equalityRule(std::string_view matchingRule) const;

  Place place() const { return {fileName_, line_.firstLine}; }
  void report(Problem::Kind kind, std::size_t line, const std::string& reason);
  void strayLine(const std::string& reason);

  LogicalLineReader reader_;
  LogicalLine line_;
  std::string decoded_;
  /// In subschema files a name may stand in place of an OID; in slapd's files it is a macro.
  bool namesAreOids_ = false;
  std::size_t strayLines_ = 0;
  const std::string& fileName_;
  Builder& builder_;
};

void FileParser::run() {
  while (reader_.next(line_)) {
    if (reader_.form() == FileForm::ldif) {
      ldifLine();
    } else {
      directiveLine();
    }
  }
  if (strayLines_ > 1) {
    report(Problem::Kind::moreStrayLines, 0, std::to_string(strayLines_ - 1));
  }
}

void FileParser::report(Problem::Kind kind, std::size_t line, const std::string& reason) {
  builder_.report({kind, fileName_, line, reason});
}

/// Only the first is reported by its line: a file that is no schema file may have millions.
void FileParser::strayLine(const std::string& reason) {
  if (++strayLines_ == 1) {
    report(Problem::Kind::strayLine, line_.firstLine, reason);
  }
}

/// `type: value`; options behind the type (`type;option: value`) do not matter. A line `-` is no
/// fault: change records in LDIF have it between two changes.
void FileParser::ldifLine() {
  const std::size_t colon = line_.text.find(':');
  if (colon == std::string_view::npos) {
    if (line_.text != "-") {
      strayLine("it has no colon after a type");
    }
    return;
  }
  const std::string_view description =
      text::withoutOuter(text::isAsciiWhiteSpace, line_.text.substr(0, colon));
  const std::string_view type = description.substr(0, description.find(';'));
  if (const DefinitionKind* kind = findDefinitionKind(FileForm::ldif, type)) {
    namesAreOids_ = text::equalIgnoringCase(type, kind->attribute);
    ldifValue(*kind, line_.text.substr(colon + 1));
  } else if (!isDescr(type) && !isNumericOid(type)) {
    strayLine(shown(type) + " before the colon is no type");
  } else if (findDefinitionKind(FileForm::directives, type) != nullptr &&
             isParenthesised(line_.text.substr(colon + 1))) {
    report(Problem::Kind::badDefinition, line_.firstLine,
           shown(type) +
               " is the keyword of another kind of file; in LDIF it is a plural, such as "
               "attributeTypes");
  }
}

/// `value` is what follows the first colon: ` text`, `: base64` or `< URL`.
void FileParser::ldifValue(const DefinitionKind& kind, std::string_view value) {
  if (value.starts_with('<')) {
    report(Problem::Kind::badDefinition, line_.firstLine, "a URL stands in place of it");
    return;
  }
  if (!value.starts_with(':')) {
    definition(kind, value);
    return;
  }
  std::optional<std::string> decoded =
      text::base64Decoded(text::withoutOuter(text::isAsciiWhiteSpace, value.substr(1)));
  if (!decoded) {
    report(Problem::Kind::badDefinition, line_.firstLine, "its base64 is not valid");
    return;
  }
  decoded_ = std::move(*decoded);
  line_.text = decoded_;
  line_.breaks.clear();
  definition(kind, line_.text);
}

void FileParser::directiveLine() {
  const std::size_t end = line_.text.find_first_of(" \t\r\n(");
  const std::string_view keyword = line_.text.substr(0, end);
  const DefinitionKind* kind = findDefinitionKind(FileForm::directives, keyword);
  const std::string_view value = line_.text.substr(keyword.size());
  if (kind == nullptr && isParenthesised(value)) {
    report(Problem::Kind::badDefinition, line_.firstLine, shown(keyword) + " is no keyword");
    return;
  }
  if (kind == nullptr) {
    strayLine(shown(keyword) + " is no keyword");
    return;
  }
  namesAreOids_ = false;
  definition(*kind, value);
}

/// `value` is a piece of line_.text.
void FileParser::definition(const DefinitionKind& kind, std::string_view value) {
  const std::string_view text = withoutOrderingPrefix(value);
  try {
    if (kind.type == DefinitionType::objectIdentifier) {
      macro(text);
    } else {
      description(kind, text);
    }
  } catch (const DefinitionError& error) {
    const auto before = static_cast<std::size_t>(text.data() - line_.text.data());
    report(Problem::Kind::badDefinition, line_.lineOf(before + error.offset()), error.what());
  }
}

void FileParser::description(const DefinitionKind& kind, std::string_view text) {
  const Description parsed = parseDescription(text, kind);
  if (kind.type == DefinitionType::ditStructureRule) {
    return;
  }
  std::string oid = resolvedOid(parsed.identifier, parsed.identifierOffset);
  if (kind.type == DefinitionType::attributeType) {
    attributeType(parsed, std::move(oid));
  } else {
    builder_.addOtherNames(parsed.values("NAME"), oid);
  }
}

void FileParser::attributeType(const Description& description, std::string oid) {
  const auto& supertype = description.values("SUP");
  const auto& equality = description.values("EQUALITY");
  const auto& names = description.values("NAME");
  if (supertype.empty() && description.values("SYNTAX").empty()) {
    throw DefinitionError(description.identifierOffset, "it has neither SUP nor SYNTAX");
  }
  AttributeDefinition attribute;
  attribute.oid = std::move(oid);
  attribute.names.assign(names.begin(), names.end());
  attribute.place = place();
  if (!supertype.empty()) {
    attribute.supertype = supertype.front();
  }
  if (!equality.empty()) {
    attribute.equality = equalityRule(equality.front());
  }
  builder_.addAttributeType(std::move(attribute));
}

/// `name oid`, where the OID may begin with an earlier macro.
void FileParser::macro(std::string_view text) {
  std::size_t nameEnd = 0;
  while (nameEnd < text.size() && !text::isAsciiWhiteSpace(text[nameEnd])) {
    ++nameEnd;
  }
  const std::string_view name = text.substr(0, nameEnd);
  const std::string_view oid = text::withoutOuter(text::isAsciiWhiteSpace, text.substr(nameEnd));
  if (!isDescr(name)) {
    throw DefinitionError(0, shown(name) + " is no name for a macro");
  }
  const std::size_t offset = text.size() - oid.size();
  namesAreOids_ = false;
  builder_.addMacro(name, resolvedOid(oid, offset), place());
}

std::string FileParser::resolvedOid(std::string_view text, std::size_t offset) const {
  std::string oid(text);
  if (!isNumericOid(text)) {
    if (const std::optional<std::string> expanded = builder_.expandMacro(text)) {
      oid = *expanded;
    } else if (!namesAreOids_ || !isDescr(text)) {
      throw DefinitionError(offset, shown(text) +
                                        " is neither a dotted number nor a macro that "
                                        "stands before");
    }
  }
  if (oid.size() > longestOid) {
    throw DefinitionError(offset, "its number " + shown(oid) + " has more than " +
                                      std::to_string(longestOid) + " characters");
  }
  return oid;
}

EqualityRule FileParser::equalityRule(std::string_view matchingRule) const {
  const std::optional<std::string> expanded = builder_.expandMacro(matchingRule);
  return equalityRuleOf(expanded ? *expanded : matchingRule);
}

}  // namespace

void parseText(std::string_view text, const std::string& fileName, Builder& builder) {
  FileParser(text, fileName, builder).run();
}

}  // namespace schema
