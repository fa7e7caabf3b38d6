// The quick road to the normal form, which nearly every DN takes: a text in which nothing but
// letter case stands between it and its normal form, or nothing at all.
#ifndef PLATFORM_DIRCLIENT_NORMALFORMSCAN_H
#define PLATFORM_DIRCLIENT_NORMALFORMSCAN_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/dirclient/DnNormalizer.h"
#include "platform/schema/Schema.h"
#include "platform/text/ascii.h"
#include "platform/text/attributeType.h"

namespace dirclient {

/// One pass over a text. It recognises ASCII DNs whose values compare as texts and hold neither
/// insignificant blanks nor needless escapes; for the rest it answers "not recognised", and the
/// parser decides.
///
/// `AvaSink` is called with each assertion. With `lowerCase` letters may be in lower case where the
/// normal form has them in upper case; without, the text recognised is its own normal form.
template <bool lowerCase, typename AvaSink>
class NormalFormScan {
 public:
  NormalFormScan(std::string_view dn, const schema::Schema* schema, AvaSink& sink)
      : begin_(dn.data()), end_(dn.data() + dn.size()), schema_(schema), sink_(sink) {}

  /// Whether the text is recognised; if so, the sink has had every assertion, from left to right.
  bool run() {
    const char* at = begin_;
    for (;;) {
      const char* const avaBegin = at;
      at = scanType(at);
      if (at == nullptr) {
        return false;
      }
      const char* const equals = at;
      at = scanValue(at + 1);
      if (at == nullptr) {
        return false;
      }
      const bool lastInRdn = at == end_ || *at == ',';
      if (!inOrder(std::string_view(avaBegin, static_cast<std::size_t>(at - avaBegin)),
                   lastInRdn) ||
          (lastInRdn && ++rdnCount_ > maximalRdnCount)) {
        return false;
      }
      sink_(NormalAva{offset(avaBegin), offset(equals), offset(at), lastInRdn, !exactCase_});
      if (at == end_) {
        return true;
      }
      ++at;
    }
  }

  std::int32_t rdnCount() const { return rdnCount_; }

  /// Whether there was a letter to be written in upper case.
  bool sawLowerCase() const { return (seen_ & lower) != 0; }

 private:
  /// What a byte is; the classes up to `lower` need no look.
  using Class = std::uint8_t;
  static constexpr Class plain = 0;
  static constexpr Class lower = 1;
  static constexpr Class blank = 2;
  static constexpr Class separator = 3;
  static constexpr Class backslash = 4;
  static constexpr Class other = 5;

  using Classes = std::array<Class, 256>;

  static constexpr Classes makeTypeClasses() {
    Classes classes{};
    for (std::size_t c = 0; c < classes.size(); ++c) {
      const char character = static_cast<char>(c);
      const bool type = text::isAttributeTypeCharacter(character) && !text::isAsciiLower(character);
      classes[c] = type ? plain : lowerCase && text::isAsciiLower(character) ? lower : other;
    }
    return classes;
  }

  static constexpr Classes makeValueClasses(Class lowerCaseLetter) {
    Classes classes{};
    classes.fill(other);
    for (char c = 0x20; c < 0x7F; ++c) {
      classes[static_cast<unsigned char>(c)] = text::isAsciiLower(c) ? lowerCaseLetter : plain;
    }
    for (const char c : std::string_view("\"<>;")) {
      classes[static_cast<unsigned char>(c)] = other;
    }
    classes[' '] = blank;
    classes[','] = separator;
    classes['+'] = separator;
    classes['\\'] = backslash;
    return classes;
  }

  std::size_t offset(const char* at) const { return static_cast<std::size_t>(at - begin_); }

  /// Behind the bytes that need no look.
  const char* skipPlain(const char* at, const Classes& classes) {
    unsigned int seen = seen_;
    while (at != end_) {
      const Class byteClass = classes[static_cast<unsigned char>(*at)];
      if (byteClass > lower) {
        break;
      }
      seen |= byteClass;
      ++at;
    }
    seen_ = seen;
    return at;
  }

  /// The '=' behind the type, or a null pointer.
  const char* scanType(const char* at) {
    const char* const begin = at;
    at = skipPlain(at, typeClasses_);
    if (at == begin || at == end_ || *at != '=') {
      return nullptr;
    }
    const std::string_view type(begin, static_cast<std::size_t>(at - begin));
    return isOidPrefixed(type) || (schema_ != nullptr && !fitsSchema(type)) ? nullptr : at;
  }

  static bool isOidPrefixed(std::string_view type) {
    return type.size() >= 4 && type[3] == '.' && equalsInUpperCase(type.substr(0, 4), "OID.");
  }

  static bool equalsInUpperCase(std::string_view text, std::string_view upperCase) {
    if (text.size() != upperCase.size()) {
      return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (text::toAsciiUpper(text[i]) != upperCase[i]) {
        return false;
      }
    }
    return true;
  }

  /// Whether the type is the one that the normal form has, and its values compare as texts.
  bool fitsSchema(std::string_view type) {
    exactCase_ = false;
    const schema::AttributeType* attribute = schema_->findAttributeType(type);
    if (attribute == nullptr) {
      return true;
    }
    switch (attribute->equality) {
      case schema::EqualityRule::caseExact:
      case schema::EqualityRule::caseExactIA5:
        exactCase_ = true;
        break;
      case schema::EqualityRule::none:
      case schema::EqualityRule::caseIgnore:
      case schema::EqualityRule::caseIgnoreIA5:
        break;
      default:
        return false;
    }
    return equalsInUpperCase(type, attribute->canonicalType);
  }

  /// The separator behind the value, or the end; a null pointer where the value is not recognised.
  const char* scanValue(const char* at) {
    const char* const begin = at;
    if (at != end_ && *at == '#') {
      return nullptr;
    }
    const Classes& classes = exactCase_ ? exactCaseClasses_ : ignoringCaseClasses_;
    for (;;) {
      at = skipPlain(at, classes);
      if (at == end_) {
        return at;
      }
      switch (classes[static_cast<unsigned char>(*at)]) {
        case separator:
          return at;
        case blank:
          if (at == begin || at + 1 == end_ || endsBlanks(at[1])) {
            return nullptr;
          }
          ++at;
          break;
        case backslash:
          if (!isNeededEscape(at, begin)) {
            return nullptr;
          }
          at += 2;
          break;
        default:
          return nullptr;
      }
    }
  }

  /// Whether a blank before `c` is insignificant.
  static bool endsBlanks(char c) { return c == ' ' || c == ',' || c == '+'; }

  /// Whether the `\` at `at` stands before a character that is never written without it.
  bool isNeededEscape(const char* at, const char* valueBegin) const {
    if (at + 1 == end_) {
      return false;
    }
    switch (at[1]) {
      case '"':
      case '+':
      case ',':
      case ';':
      case '<':
      case '>':
      case '\\':
        return true;
      case '#':
        return at == valueBegin;
      default:
        return false;
    }
  }

  /// Whether the assertion may follow the one before it: inside one RDN they are sorted by the
  /// bytes of their normal form.
  bool inOrder(std::string_view ava, bool lastInRdn) {
    if (lastInRdn && previousInRdn_.empty()) {
      return true;
    }
    const bool ordered = !sawLowerCase() && previousInRdn_ <= ava;
    previousInRdn_ = lastInRdn ? std::string_view() : ava;
    return ordered;
  }

  static constexpr Classes typeClasses_ = makeTypeClasses();
  static constexpr Classes ignoringCaseClasses_ = makeValueClasses(lowerCase ? lower : other);
  static constexpr Classes exactCaseClasses_ = makeValueClasses(plain);

  const char* begin_;
  const char* end_;
  const schema::Schema* schema_;
  AvaSink& sink_;
  unsigned int seen_ = 0;
  bool exactCase_ = false;
  std::string_view previousInRdn_;
  std::int32_t rdnCount_ = 0;
};

}  // namespace dirclient

#endif
