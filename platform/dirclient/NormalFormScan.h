// The quick way to the normal form, which nearly every DN takes. Most DNs are ASCII without blanks
// or escapes that the normal form would change: what is left to do is to write them in upper case.
#ifndef PLATFORM_DIRCLIENT_NORMALFORMSCAN_H
#define PLATFORM_DIRCLIENT_NORMALFORMSCAN_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/dirclient/NormalAva.h"
#include "platform/dirclient/PlacesToLook.h"
#include "platform/schema/Schema.h"
#include "platform/text/attributeType.h"
#include "platform/text/equalIgnoringCase.h"

namespace dirclient {

/// Reads a DN once, and recognises it where it differs from its normal form in two things at most:
/// letters may be in lower case where the normal form has capitals, and the parts of an RDN with
/// several values may be in another order. For any other text, a DN or not, the answer is "not
/// recognised", and the parser has to decide. Allocates nothing.
class NormalFormScan {
 public:
  /// `dn` has to outlive the scan; `schema` is a null pointer for light normalisation.
  NormalFormScan(std::string_view dn, const schema::Schema* schema)
      : dn_(dn), schema_(schema), places_(dn) {}

  /// Whether the text is recognised. If so, `sink` was called with every assertion, from left to
  /// right.
  template <typename AvaSink>
  bool run(AvaSink&& sink) {
    for (NormalAva ava{};; ava.begin = ava.end + 1) {
      if (!scanType(ava) || !scanValue(ava)) {
        return false;
      }
      const bool last = ava.end == dn_.size();
      ava.lastInRdn = last || dn_[ava.end] == ',';
      hasSeveralValues_ = hasSeveralValues_ || !ava.lastInRdn;
      if (ava.lastInRdn && ++rdnCount_ > maximalRdnCount) {
        return false;
      }
      sink(ava);
      if (last) {
        return true;
      }
    }
  }

  /// Of a text that was recognised.
  std::int32_t rdnCount() const { return rdnCount_; }

  /// Whether there is a small letter anywhere in it.
  bool sawLowerCase() const { return places_.sawLowerCase(); }

  /// Whether an RDN has several values, whose order may have to change.
  bool hasSeveralValues() const { return hasSeveralValues_; }

 private:
  bool scanType(NormalAva& ava) {
    ava.equals = places_.next();
    if (ava.equals == ava.begin || ava.equals == dn_.size() || dn_[ava.equals] != '=') {
      return false;
    }
    const std::string_view type = dn_.substr(ava.begin, ava.equals - ava.begin);
    for (const char c : type) {
      if (!text::isAttributeTypeCharacter(c)) {
        return false;
      }
    }
    const bool hasOidPrefix =
        type.size() > 3 && type[3] == '.' && text::equalIgnoringCase(type.substr(0, 3), "OID");
    ava.ignoresCase = true;
    return !hasOidPrefix && (schema_ == nullptr || fitsSchema(type, ava));
  }

  /// Whether the type is the one that the normal form has, and its values compare as texts.
  bool fitsSchema(std::string_view type, NormalAva& ava) const {
    const schema::AttributeType* const attribute = schema_->findAttributeType(type);
    if (attribute == nullptr) {
      return true;
    }
    switch (attribute->equality) {
      case schema::EqualityRule::caseExact:
      case schema::EqualityRule::caseExactIA5:
        ava.ignoresCase = false;
        break;
      case schema::EqualityRule::none:
      case schema::EqualityRule::caseIgnore:
      case schema::EqualityRule::caseIgnoreIA5:
        break;
      default:
        return false;
    }
    return text::equalIgnoringCase(type, attribute->canonicalType);
  }

  /// Sets the end of the value; false where the value is not recognised.
  bool scanValue(NormalAva& ava) {
    const std::size_t begin = ava.equals + 1;
    std::size_t escaped = 0;  // the byte behind the last `\`; no value begins at 0
    for (;;) {
      const std::size_t at = places_.next();
      if (at == dn_.size()) {
        ava.end = at;
        return true;
      }
      if (at == escaped) {
        continue;
      }
      switch (dn_[at]) {
        case ',':
        case '+':
          ava.end = at;
          return true;
        case ' ':
          if (at == begin || isInsignificantBlank(at)) {
            return false;
          }
          break;
        case '\\':
          if (!isNeededEscape(at, begin)) {
            return false;
          }
          escaped = at + 1;
          break;
        case '#':
          if (at == begin) {
            return false;
          }
          break;
        case '!':
        case '$':
        case '%':
        case '&':
        case '\'':
        case '(':
        case ')':
        case '*':
        case '=':
          break;
        default:
          return false;
      }
    }
  }

  /// Of a blank inside a value: whether the normal form leaves it out, or has it escaped, because
  /// it is the last of the value or another blank follows.
  bool isInsignificantBlank(std::size_t at) const {
    const char next = at + 1 < dn_.size() ? dn_[at + 1] : ',';
    return next == ' ' || next == ',' || next == '+';
  }

  /// Whether the `\` at `at` stands before a character that the normal form never has without it.
  bool isNeededEscape(std::size_t at, std::size_t valueBegin) const {
    if (at + 1 == dn_.size()) {
      return false;
    }
    switch (dn_[at + 1]) {
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

  std::string_view dn_;
  const schema::Schema* schema_;
  PlacesToLook places_;
  std::int32_t rdnCount_ = 0;
  bool hasSeveralValues_ = false;
};

}  // namespace dirclient

#endif
