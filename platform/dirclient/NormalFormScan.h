// The quick test for a DN that is in normal form already, as nearly every DN on the hot path is.
#ifndef PLATFORM_DIRCLIENT_NORMALFORMSCAN_H
#define PLATFORM_DIRCLIENT_NORMALFORMSCAN_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/dirclient/DnNormalizer.h"
#include "platform/dirclient/ascii.h"
#include "platform/schema/Schema.h"

namespace dirclient {

/// One pass over a text. It recognises ASCII DNs whose values are compared as texts, single-valued
/// or not; for the rest it answers "not recognised", and the parser decides.
template <typename AvaSink>
class NormalFormScan {
 public:
  NormalFormScan(std::string_view dn, const schema::Schema* schema, AvaSink& sink)
      : dn_(dn), schema_(schema), sink_(sink) {}

  /// Whether the text is recognised; if so, the sink has had every assertion, from left to right.
  bool run() {
    for (;;) {
      NormalAva ava{};
      ava.begin = at_;
      if (!scanType() || !scanValue(ava)) {
        return false;
      }
      ava.end = at_;
      ava.lastInRdn = at_ == dn_.size() || dn_[at_] == ',';
      if (!inOrder(ava) || (ava.lastInRdn && ++rdnCount_ > maximalRdnCount)) {
        return false;
      }
      sink_(ava);
      if (at_ == dn_.size()) {
        return true;
      }
      ++at_;
    }
  }

  std::int32_t rdnCount() const { return rdnCount_; }

 private:
  /// What a byte is inside a value.
  enum Class : std::uint8_t { other = 0, plain = 1, blank = 2, separator = 3, backslash = 4 };

  static constexpr std::array<std::uint8_t, 256> makeClasses(bool lowerCaseIsPlain) {
    std::array<std::uint8_t, 256> classes{};
    for (int c = 0x20; c < 0x7F; ++c) {
      classes[static_cast<std::size_t>(c)] = plain;
    }
    for (const char c : std::string_view("\"<>;")) {
      classes[static_cast<unsigned char>(c)] = other;
    }
    for (char c = 'a'; !lowerCaseIsPlain && c <= 'z'; ++c) {
      classes[static_cast<unsigned char>(c)] = other;
    }
    classes[' '] = blank;
    classes[','] = separator;
    classes['+'] = separator;
    classes['\\'] = backslash;
    return classes;
  }

  static constexpr std::array<bool, 256> makeTypeBytes() {
    std::array<bool, 256> bytes{};
    for (std::size_t c = 0; c < bytes.size(); ++c) {
      const char character = static_cast<char>(c);
      bytes[c] = isAsciiUpper(character) || isAsciiDigit(character) || character == '-' ||
                 character == '_' || character == '.';
    }
    return bytes;
  }

  bool scanType() {
    const std::size_t begin = at_;
    while (at_ < dn_.size() && typeBytes_[static_cast<unsigned char>(dn_[at_])]) {
      ++at_;
    }
    if (at_ == begin || at_ == dn_.size() || dn_[at_] != '=') {
      return false;
    }
    const std::string_view type = dn_.substr(begin, at_ - begin);
    return !(type[0] == 'O' && type.starts_with("OID.")) && typeFitsSchema(type);
  }

  bool typeFitsSchema(std::string_view type) {
    classes_ = &ignoringCase_;
    if (schema_ == nullptr) {
      return true;
    }
    const schema::AttributeType* attribute = schema_->findAttributeType(type);
    if (attribute == nullptr) {
      return true;
    }
    switch (attribute->equality) {
      case schema::EqualityRule::caseExact:
      case schema::EqualityRule::caseExactIA5:
        classes_ = &exactCase_;
        break;
      case schema::EqualityRule::none:
      case schema::EqualityRule::caseIgnore:
      case schema::EqualityRule::caseIgnoreIA5:
        break;
      default:
        return false;
    }
    return attribute->canonicalType == type;
  }

  bool scanValue(NormalAva& ava) {
    ava.equals = at_++;
    const std::size_t begin = at_;
    if (at_ < dn_.size() && dn_[at_] == '#') {
      return false;
    }
    for (;;) {
      if (at_ == dn_.size()) {
        return true;
      }
      switch ((*classes_)[static_cast<unsigned char>(dn_[at_])]) {
        case plain:
          ++at_;
          break;
        case separator:
          return true;
        case blank:
          // Insignificant blanks: at either end, and the second of two.
          if (at_ == begin || at_ + 1 == dn_.size() || dn_[at_ + 1] == ' ' || dn_[at_ + 1] == ',' ||
              dn_[at_ + 1] == '+') {
            return false;
          }
          ++at_;
          break;
        case backslash:
          if (!isNeededEscape(begin)) {
            return false;
          }
          at_ += 2;
          break;
        default:
          return false;
      }
    }
  }

  /// Whether the `\` here stands before a character that is never written without it.
  bool isNeededEscape(std::size_t valueBegin) const {
    if (at_ + 1 == dn_.size()) {
      return false;
    }
    switch (dn_[at_ + 1]) {
      case '"':
      case '+':
      case ',':
      case ';':
      case '<':
      case '>':
      case '\\':
        return true;
      case '#':
        return at_ == valueBegin;
      default:
        return false;
    }
  }

  /// Whether the assertion may follow the one before it: inside one RDN they are sorted by bytes.
  bool inOrder(const NormalAva& ava) {
    const std::string_view text = dn_.substr(ava.begin, ava.end - ava.begin);
    const bool ordered = previousInRdn_.empty() || previousInRdn_ <= text;
    previousInRdn_ = ava.lastInRdn ? std::string_view() : text;
    return ordered;
  }

  static constexpr std::array<std::uint8_t, 256> ignoringCase_ = makeClasses(false);
  static constexpr std::array<std::uint8_t, 256> exactCase_ = makeClasses(true);
  static constexpr std::array<bool, 256> typeBytes_ = makeTypeBytes();

  std::string_view dn_;
  const schema::Schema* schema_;
  AvaSink& sink_;
  const std::array<std::uint8_t, 256>* classes_ = &ignoringCase_;
  std::size_t at_ = 0;
  std::string_view previousInRdn_;
  std::int32_t rdnCount_ = 0;
};

}  // namespace dirclient

#endif
