#include "platform/dirclient/normalizeValue.h"

#include <algorithm>

#include "platform/dirclient/DnNormalizer.h"
#include "platform/dirclient/appendNormalTime.h"
#include "platform/dirclient/ascii.h"
#include "platform/dirclient/string_prep.h"

namespace dirclient {
namespace {

using schema::EqualityRule;

/// How deep DNs inside the values of DNs are normalised as such. The escapes of each level double
/// the text, and nothing real goes beyond one.
constexpr int maximalNesting = 3;

bool needsBackslash(char c) {
  return c == '"' || c == '+' || c == ',' || c == ';' || c == '<' || c == '>' || c == '\\';
}

void appendHexEscape(char c, std::pmr::string& text) {
  const auto byte = static_cast<unsigned char>(c);
  text += '\\';
  text += upperHexDigit(byte >> 4U);
  text += upperHexDigit(byte & 0xFU);
}

/// The value as RFC 4518 prepares it, or its bytes where it is not UTF-8.
std::pmr::string prepared(std::string_view value, LetterCase letterCase,
                          Insignificant insignificant, std::pmr::string& text) {
  std::pmr::string result(text.get_allocator());
  if (!prepareString(value, letterCase, insignificant, result)) {
    result = value;
    for (char& c : result) {
      c = letterCase == LetterCase::upper ? toAsciiUpper(c) : c;
    }
  }
  return result;
}

void appendPrepared(std::string_view value, LetterCase letterCase, Insignificant insignificant,
                    std::pmr::string& text) {
  appendEscaped(prepared(value, letterCase, insignificant, text), text);
}

void appendIgnoringCase(std::string_view value, std::pmr::string& text) {
  appendPrepared(value, LetterCase::upper, Insignificant::spaces, text);
}

/// Lines separated by `$`, each of which compares by itself (RFC 4517, section 4.2.9).
void appendList(std::string_view value, std::pmr::string& text) {
  std::pmr::string list(text.get_allocator());
  for (bool more = true; more;) {
    const auto dollar = value.find('$');
    more = dollar != std::string_view::npos;
    list += prepared(value.substr(0, dollar), LetterCase::upper, Insignificant::spaces, text);
    if (more) {
      list += '$';
      value.remove_prefix(dollar + 1);
    }
  }
  appendEscaped(list, text);
}

/// RFC 4517, section 3.3.16: an optional minus sign and digits. Zeros before the number go.
void appendInteger(std::string_view value, std::pmr::string& text) {
  const bool negative = value.starts_with('-');
  std::string_view digits = value.substr(negative ? 1 : 0);
  if (digits.empty() || digits.find_first_not_of("0123456789") != std::string_view::npos) {
    appendIgnoringCase(value, text);
    return;
  }
  digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size() - 1));
  if (negative && digits != "0") {
    text += '-';
  }
  text += digits;
}

void appendTime(std::string_view value, std::pmr::string& text) {
  if (!appendNormalTime(value, text)) {
    appendIgnoringCase(value, text);
  }
}

/// A name of the schema becomes its number (RFC 4517, section 4.2.26).
void appendObjectIdentifier(std::string_view value, const schema::Schema* schema,
                            std::pmr::string& text) {
  const std::string_view oid =
      schema != nullptr ? schema->findObjectIdentifier(value) : std::string_view();
  if (oid.empty()) {
    appendIgnoringCase(value, text);
  } else {
    text += oid;
  }
}

void appendDn(std::string_view value, const schema::Schema* schema, int nesting,
              std::pmr::string& text) {
  if (nesting < maximalNesting) {
    DnNormalizer dn(schema, nesting + 1);
    if (dn.normalize(value)) {
      appendEscaped(dn.text(), text);
      return;
    }
  }
  appendIgnoringCase(value, text);
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
      return appendDn(value, schema, nesting, text);
    case EqualityRule::integer:
      return appendInteger(value, text);
    case EqualityRule::numericString:
      return appendPrepared(value, LetterCase::keep, Insignificant::numericString, text);
    case EqualityRule::telephoneNumber:
      return appendPrepared(value, LetterCase::upper, Insignificant::telephoneNumber, text);
    case EqualityRule::generalizedTime:
      return appendTime(value, text);
    case EqualityRule::objectIdentifier:
      return appendObjectIdentifier(value, schema, text);
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
    if (isAsciiControl(c) || (c == ' ' && atAnEnd)) {
      appendHexEscape(c, text);
      continue;
    }
    if (needsBackslash(c) || (c == '#' && i == 0)) {
      text += '\\';
    }
    text += c;
  }
}

}  // namespace dirclient
