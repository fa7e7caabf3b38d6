#include "platform/dirclient/normalizeValue.h"

#include "platform/dirclient/ascii.h"
#include "platform/dirclient/string_prep.h"

namespace dirclient {
namespace {

bool needsBackslash(char c) {
  return c == '"' || c == '+' || c == ',' || c == ';' || c == '<' || c == '>' || c == '\\';
}

void appendHexEscape(char c, std::pmr::string& text) {
  const auto byte = static_cast<unsigned char>(c);
  text += '\\';
  text += upperHexDigit(byte >> 4U);
  text += upperHexDigit(byte & 0xFU);
}

void appendText(std::string_view value, LetterCase letterCase, std::pmr::string& text) {
  std::pmr::string prepared(text.get_allocator());
  prepared.reserve(value.size());
  if (prepareString(value, letterCase, Insignificant::spaces, prepared)) {
    appendEscaped(prepared, text);
    return;
  }
  for (const char c : value) {
    prepared += letterCase == LetterCase::upper ? toAsciiUpper(c) : c;
  }
  appendEscaped(prepared, text);
}

}  // namespace

void appendNormalValue(std::string_view value, schema::EqualityRule rule,
                       const schema::Schema* /*schema*/, int /*nesting*/, std::pmr::string& text) {
  switch (rule) {
    case schema::EqualityRule::caseExact:
    case schema::EqualityRule::caseExactIA5:
      appendText(value, LetterCase::keep, text);
      break;
    default:
      appendText(value, LetterCase::upper, text);
      break;
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
