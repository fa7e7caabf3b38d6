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
#include "platform/text/ascii.h"
#include "platform/text/equalIgnoringCase.h"
#include "platform/text/isAscii.h"

namespace dirclient {

/// Reads a DN once, and recognises it where it differs from its normal form in few things at most:
/// letters may be in lower case where the normal form has capitals, the parts of an RDN with
/// several values may be in another order, and where the caller accepts that, values may hold bytes
/// outside ASCII, which are still to be prepared. For any other text, a DN or not, the answer is
/// "not recognised", and the parser has to decide. Allocates nothing.
class NormalFormScan {
 public:
  enum class Accept { ascii, everyByte };

  /// `dn` has to outlive the scan; `schema` is a null pointer for light normalisation.
  NormalFormScan(std::string_view dn, const schema::Schema* schema, Accept accept = Accept::ascii)
      : dn_(dn), schema_(schema), accept_(accept), places_(dn) {}

  /// Whether the text is recognised. If so, `sink` was called with every assertion, from left to
  /// right.
  template <typename AvaSink>
  bool run(AvaSink&& sink) {
    // A copy, which stays in registers whatever the sink does.
    PlacesToLook places = places_;
    NormalAva ava{};
    ava.equals = none;
    std::size_t escaped = none;  // the byte behind the last `\` of the value
    for (;;) {
      const std::size_t at = places.next();
      const bool atEnd = at == dn_.size();
      if (ava.equals == none) {
        if (atEnd || dn_[at] != '=' || !isType(ava.begin, at, ava)) {
          return false;
        }
        ava.equals = at;
        continue;
      }
      if (at == escaped) {
        continue;
      }
      const char c = atEnd ? ',' : dn_[at];
      if (c == ',' || c == '+') {
        ava.end = at;
        ava.lastInRdn = c == ',';
        if (places.sawOutsideAscii() && !acceptOutsideAscii(ava, escaped != none)) {
          return false;
        }
        ++avaCount_;
        rdnCount_ += ava.lastInRdn ? 1 : 0;
        sink(ava);
        if (atEnd) {
          places_ = places;
          return rdnCount_ <= maximalRdnCount;
        }
        ava.begin = at + 1;
        ava.equals = none;
        escaped = none;
      } else if (c == '\\') {
        if (!isNeededEscape(at, ava.equals + 1)) {
          return false;
        }
        escaped = at + 1;
      } else if (!mayStandInValue(at, ava.equals + 1)) {
        return false;
      }
    }
  }

  /// Of a text that was recognised.
  std::int32_t rdnCount() const { return rdnCount_; }

  /// Whether there is a small letter anywhere in it.
  bool sawLowerCase() const { return places_.sawLowerCase(); }

  /// Whether there are values to be prepared.
  bool sawOutsideAscii() const { return places_.sawOutsideAscii(); }

  /// Whether an RDN has several values, whose order may have to change.
  bool hasSeveralValues() const { return avaCount_ != rdnCount_; }

 private:
  static constexpr std::size_t none = std::string_view::npos;

  bool isAscii(std::size_t begin, std::size_t end) const {
    return text::isAscii(dn_.data() + begin, end - begin);
  }

  /// Bytes outside ASCII may stand in a value, if the caller accepts them, and not beside escapes,
  /// which have to be resolved first. Sets what is to be told of the value.
  bool acceptOutsideAscii(NormalAva& ava, bool hasEscapes) const {
    if (accept_ == Accept::ascii || !isAscii(ava.begin, ava.equals)) {
      return false;
    }
    ava.isAscii = isAscii(ava.equals + 1, ava.end);
    return ava.isAscii || !hasEscapes;
  }

  /// Whether the bytes, none of which is a place to look at, are a type as the normal form has it.
  /// Sets what it tells of the value.
  bool isType(std::size_t begin, std::size_t end, NormalAva& ava) const {
    const std::string_view type = dn_.substr(begin, end - begin);
    const bool hasOidPrefix =
        type.size() > 3 && type[3] == '.' && text::equalIgnoringCase(type.substr(0, 3), "OID");
    ava.ignoresCase = true;
    ava.isAscii = true;
    return !type.empty() && !hasOidPrefix && (schema_ == nullptr || fitsSchema(type, ava));
  }

  /// Whether the type is the one that the normal form has, and its values compare as texts.
  bool fitsSchema(std::string_view type, NormalAva& ava) const {
    const schema::Schema::Found found = schema_->find(type);
    if (found.attribute == nullptr) {
      return true;
    }
    switch (found.attribute->equality) {
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
    return found.isCanonical;
  }

  /// Whether the byte stands in the normal form of the value as it is.
  bool mayStandInValue(std::size_t at, std::size_t valueBegin) const {
    switch (dn_[at]) {
      case ' ':
        return at != valueBegin && !isInsignificantBlank(at);
      case '#':
        return at != valueBegin;
      case '"':
      case ';':
      case '<':
      case '>':
        return false;
      default:
        return !text::isAsciiControl(dn_[at]);
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
  Accept accept_;
  PlacesToLook places_;
  std::int32_t rdnCount_ = 0;
  std::int32_t avaCount_ = 0;
};

}  // namespace dirclient

#endif
