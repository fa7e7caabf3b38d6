#include "platform/dirclient/normalizeValue.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "platform/dirclient/DnNormalizer.h"
#include "platform/dirclient/appendNormalTime.h"
#include "platform/dirclient/string_prep.h"
#include "platform/text/Bytes16.h"
#include "platform/text/ascii.h"
#include "platform/text/escape.h"

namespace dirclient {
namespace {

using schema::EqualityRule;

/// How deep DNs inside the values of DNs are normalised as such. The escapes of each level double
/// the text, and nothing real goes beyond one.
constexpr int maximalNesting = 3;

constexpr bool needsBackslash(char c) {
  return c == '"' || c == '+' || c == ',' || c == ';' || c == '<' || c == '>' || c == '\\';
}

/// Wherever in a value it stands.
constexpr bool isAlwaysEscaped(char c) {
  return needsBackslash(c) || text::isAsciiControl(c);
}

using ByteSet = std::array<bool, 256>;

constexpr ByteSet alwaysEscaped = [] {
  ByteSet set{};
  for (std::size_t byte = 0; byte < set.size(); ++byte) {
    set[byte] = isAlwaysEscaped(static_cast<char>(byte));
  }
  return set;
}();

/// Where the bytes end that stand in the normal form as they are.
std::string_view::iterator findAlwaysEscaped(std::string_view value) {
  return std::find_if(value.begin(), value.end(),
                      [](char c) { return alwaysEscaped[static_cast<unsigned char>(c)]; });
}

text::PlaceMask alwaysEscapedIn(const char* sixteen) {
  const text::Bytes16 bytes(sixteen);
  return (bytes.between('\0', '\x1F') | bytes.between('+', ',') | bytes.between(';', '<') |
          bytes.equal('>') | bytes.equal('"') | bytes.equal('\\') | bytes.equal('\x7F'))
      .mask();
}

/// Sixteen bytes at once, the last of them in part a second time.
bool holdsAlwaysEscaped(std::string_view value) {
  if (value.size() < text::bytesAtOnce) {
    return findAlwaysEscaped(value) != value.end();
  }
  const char* const last = value.data() + value.size() - text::bytesAtOnce;
  text::PlaceMask found = alwaysEscapedIn(last);
  for (const char* at = value.data(); at < last; at += text::bytesAtOnce) {
    found |= alwaysEscapedIn(at);
  }
  return found != 0;
}

bool isWrittenAsItIs(std::string_view value) {
  return value.empty() || (value.front() != '#' && value.front() != ' ' && value.back() != ' ' &&
                           !holdsAlwaysEscaped(value));
}

/// Of a byte that is always escaped.
void appendEscape(char c, std::pmr::string& text) {
  if (text::isAsciiControl(c)) {
    text::appendHexEscape(c, text);
  } else {
    text += '\\';
    text += c;
  }
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

/// Appends the value as RFC 4518 prepares it, or its bytes where it is not UTF-8; tells which.
bool prepare(std::string_view value, LetterCase letterCase, Insignificant insignificant,
             std::pmr::string& text) {
  if (prepareString(value, letterCase, insignificant, text)) {
    return true;
  }
  for (const char c : value) {
    text += letterCase == LetterCase::upper ? text::toAsciiUpper(c) : c;
  }
  return false;
}

/// Replaces what stands in `text` from `begin` on by its escaped form.
void escapeFrom(std::size_t begin, std::pmr::string& text) {
  Scratch scratch;
  const std::pmr::string value(std::string_view(text).substr(begin), scratch.memory());
  text.resize(begin);
  appendEscaped(value, text);
}

void appendPrepared(std::string_view value, LetterCase letterCase, Insignificant insignificant,
                    std::pmr::string& text) {
  const std::size_t begin = text.size();
  prepare(value, letterCase, insignificant, text);
  if (!isWrittenAsItIs(std::string_view(text).substr(begin))) {
    escapeFrom(begin, text);
  }
}

void appendIgnoringCase(std::string_view value, std::pmr::string& text) {
  appendPrepared(value, LetterCase::upper, Insignificant::spaces, text);
}

/// Appends what `appendBySyntax` makes of the value, prepared as if case were ignored; where it
/// says that the value is not of its syntax, that prepared value itself. The value is prepared
/// before it is tested. An example: ` 007 ` is no integer as written; if it were taken as text, its
/// normal form would be `007`; that is an integer, whose normal form is `7`, so that normalising
/// twice would give another text than normalising once.
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

/// Normalises the value as a DN. Where it is none as it was written, its prepared form may be one:
/// full-width letters and signs, for instance, become ASCII.
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
  std::string_view rest = value;
  if (rest.starts_with('#')) {
    text += "\\#";
    rest.remove_prefix(1);
  } else if (rest.starts_with(' ')) {
    text::appendHexEscape(' ', text);
    rest.remove_prefix(1);
  }
  const bool endsInBlank = rest.ends_with(' ');
  rest.remove_suffix(endsInBlank ? 1 : 0);
  while (true) {
    const auto escaped = findAlwaysEscaped(rest);
    text.append(rest.begin(), escaped);
    if (escaped == rest.end()) {
      break;
    }
    appendEscape(*escaped, text);
    rest.remove_prefix(static_cast<std::size_t>(escaped - rest.begin()) + 1);
  }
  if (endsInBlank) {
    text::appendHexEscape(' ', text);
  }
}

}  // namespace dirclient
