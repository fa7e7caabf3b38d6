#include "platform/dirclient/normalizeValue.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "platform/dirclient/DnNormalizer.h"
#include "platform/dirclient/appendNormalTime.h"
#include "platform/dirclient/string_prep.h"
#include "platform/text/ascii.h"
#include "platform/text/escape.h"

namespace dirclient {
namespace {

using schema::EqualityRule;

/// How deep DNs inside the values of DNs are normalised as such. The escapes of each level double
/// the text, and nothing real goes beyond one.
constexpr int maximalNesting = 3;

bool needsBackslash(char c) {
  return c == '"' || c == '+' || c == ',' || c == ';' || c == '<' || c == '>' || c == '\\';
}

/// Working memory of one value, given back when the value is done: a name may have any number of
/// them.
class Scratch {
 public:
  Scratch() : memory_(stack_.data(), stack_.size()) {}
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  std::pmr::memory_resource* memory() { return &memory_; }

 private:
  std::array<std::byte, 1024> stack_;
  std::pmr::monotonic_buffer_resource memory_;
};

/// The value as RFC 4518 prepares it, or its bytes where it is not UTF-8; tells which.
bool prepare(std::string_view value, LetterCase letterCase, Insignificant insignificant,
             std::pmr::string& result) {
  if (prepareString(value, letterCase, insignificant, result)) {
    return true;
  }
  result = value;
  for (char& c : result) {
    c = letterCase == LetterCase::upper ? text::toAsciiUpper(c) : c;
  }
  return false;
}

void appendPrepared(std::string_view value, LetterCase letterCase, Insignificant insignificant,
                    std::pmr::string& text) {
  Scratch scratch;
  std::pmr::string prepared(scratch.memory());
  prepare(value, letterCase, insignificant, prepared);
  appendEscaped(prepared, text);
}

void appendIgnoringCase(std::string_view value, std::pmr::string& text) {
  appendPrepared(value, LetterCase::upper, Insignificant::spaces, text);
}

/// Appends what `appendBySyntax` makes of the value, prepared as if case were ignored; where it
/// says that the value is not of its syntax, that prepared value itself. The syntax is tested
/// behind the preparation and not before: else a value could become one of the syntax by it, and
/// the normal form of the normal form would be another.
template <typename AppendBySyntax>
void appendOfSyntax(std::string_view value, std::pmr::string& text,
                    const AppendBySyntax& appendBySyntax) {
  Scratch scratch;
  std::pmr::string prepared(scratch.memory());
  prepare(value, LetterCase::upper, Insignificant::spaces, prepared);
  if (!appendBySyntax(std::string_view(prepared))) {
    appendEscaped(prepared, text);
  }
}

/// Lines separated by `$`, each of which compares by itself (RFC 4517, section 4.2.9).
void appendList(std::string_view value, std::pmr::string& text) {
  Scratch scratch;
  std::pmr::string whole(scratch.memory());
  if (!prepare(value, LetterCase::upper, Insignificant::spaces, whole)) {
    appendEscaped(whole, text);
    return;
  }
  std::pmr::string list;
  std::string_view rest = whole;
  for (bool more = true; more;) {
    const auto dollar = rest.find('$');
    more = dollar != std::string_view::npos;
    Scratch ofLine;
    std::pmr::string line(ofLine.memory());
    prepare(rest.substr(0, dollar), LetterCase::upper, Insignificant::spaces, line);
    list += line;
    if (more) {
      list += '$';
      rest.remove_prefix(dollar + 1);
    }
  }
  appendEscaped(list, text);
}

/// RFC 4517, section 3.3.16: an optional minus sign and digits. Zeros before the number go.
bool appendInteger(std::string_view value, std::pmr::string& text) {
  const bool negative = value.starts_with('-');
  std::string_view digits = value.substr(negative ? 1 : 0);
  if (digits.empty() || digits.find_first_not_of("0123456789") != std::string_view::npos) {
    return false;
  }
  digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size() - 1));
  if (negative && digits != "0") {
    text += '-';
  }
  text += digits;
  return true;
}

/// A name of the schema becomes its number (RFC 4517, section 4.2.26).
bool appendObjectIdentifier(std::string_view value, const schema::Schema* schema,
                            std::pmr::string& text) {
  const std::string_view oid =
      schema != nullptr ? schema->findObjectIdentifier(value) : std::string_view();
  text += oid;
  return !oid.empty();
}

bool appendDn(std::string_view value, const schema::Schema* schema, int nesting,
              std::pmr::string& text) {
  DnNormalizer dn(schema, nesting + 1);
  if (!dn.normalize(value)) {
    return false;
  }
  appendEscaped(dn.text(), text);
  return true;
}

/// A DN by its own attributes; what is none may still become one by its preparation.
void appendDnOrText(std::string_view value, const schema::Schema* schema, int nesting,
                    std::pmr::string& text) {
  if (nesting >= maximalNesting) {
    appendIgnoringCase(value, text);
  } else if (!appendDn(value, schema, nesting, text)) {
    appendOfSyntax(value, text, [&](std::string_view prepared) {
      return appendDn(prepared, schema, nesting, text);
    });
  }
}

}  // namespace

void appendNormalValue(std::string_view value, EqualityRule rule, const schema::Schema* schema,
                       int nesting, std::pmr::string& text) {
  switch (rule) {
    case EqualityRule::caseExact:
    case EqualityRule::caseExactIA5:
      return appendPrepared(value, LetterCase::keep, Insignificant::spaces, text);
    case EqualityRule::caseIgnoreList:
      return appendList(value, text);
    case EqualityRule::distinguishedName:
      return appendDnOrText(value, schema, nesting, text);
    case EqualityRule::integer:
      return appendOfSyntax(
          value, text, [&](std::string_view prepared) { return appendInteger(prepared, text); });
    case EqualityRule::numericString:
      return appendPrepared(value, LetterCase::keep, Insignificant::numericString, text);
    case EqualityRule::telephoneNumber:
      return appendPrepared(value, LetterCase::upper, Insignificant::telephoneNumber, text);
    case EqualityRule::generalizedTime:
      return appendOfSyntax(
          value, text, [&](std::string_view prepared) { return appendNormalTime(prepared, text); });
    case EqualityRule::objectIdentifier:
      return appendOfSyntax(value, text, [&](std::string_view prepared) {
        return appendObjectIdentifier(prepared, schema, text);
      });
    case EqualityRule::octetString:
    case EqualityRule::bitString:
      return appendEscaped(value, text);
    case EqualityRule::boolean:
    case EqualityRule::caseIgnore:
    case EqualityRule::caseIgnoreIA5:
    case EqualityRule::none:
      return appendIgnoringCase(value, text);
  }
}

void appendEscaped(std::string_view value, std::pmr::string& text) {
  for (std::string_view::size_type i = 0; i < value.size(); ++i) {
    const char c = value[i];
    const bool atAnEnd = i == 0 || i + 1 == value.size();
    if (text::isAsciiControl(c) || (c == ' ' && atAnEnd)) {
      text::appendHexEscape(c, text);
      continue;
    }
    if (needsBackslash(c) || (c == '#' && i == 0)) {
      text += '\\';
    }
    text += c;
  }
}

}  // namespace dirclient
