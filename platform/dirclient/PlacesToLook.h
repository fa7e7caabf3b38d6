// The bytes of a DN on which its syntax turns.
#ifndef PLATFORM_DIRCLIENT_PLACESTOLOOK_H
#define PLATFORM_DIRCLIENT_PLACESTOLOOK_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/text/Bytes16.h"

namespace dirclient {

/// Finds, from left to right, the bytes of a DN that may be more than a part of a type or value:
/// separators, `=`, blanks, `\`, all that is escaped in a normal form, control bytes, and whatever
/// is not ASCII. Some harmless punctuation is among them. Sixty-four bytes are looked at together.
class PlacesToLook {
 public:
  /// `dn` has to outlive this object.
  explicit PlacesToLook(std::string_view dn) : dn_(dn) {}

  /// The offset of the next such byte; the size of the DN where there is none left.
  std::size_t next() {
    while (places_ == 0) {
      if (windowEnd_ == dn_.size()) {
        return dn_.size();
      }
      lookAtNextWindow();
    }
    const auto place = text::firstPlace(places_);
    places_ &= places_ - 1;
    return windowBegin_ + place;
  }

  /// Whether a small letter stands before the end of what was looked at.
  bool sawLowerCase() const { return smallLetters_ != 0; }

 private:
  static constexpr std::size_t windowSize = 64;

  void lookAtNextWindow() {
    windowBegin_ = windowEnd_;
    for (std::size_t shift = 0; shift < windowSize && windowEnd_ < dn_.size();
         shift += text::bytesAtOnce) {
      const std::size_t left = dn_.size() - windowEnd_;
      if (left >= text::bytesAtOnce) {
        look(dn_.data() + windowEnd_, 0, shift);
        windowEnd_ += text::bytesAtOnce;
        continue;
      }
      if (dn_.size() >= text::bytesAtOnce) {
        // The last sixteen bytes of the DN; those that were looked at before are shifted out.
        look(dn_.data() + dn_.size() - text::bytesAtOnce, text::bytesAtOnce - left, shift);
      } else {
        std::array<char, text::bytesAtOnce> padded{};
        dn_.copy(padded.data(), left);
        look(padded.data(), 0, shift);
        // The padding is made of NULs, each a place to look at.
        places_ &= (std::uint64_t{1} << left) - 1;
      }
      windowEnd_ = dn_.size();
    }
  }

  void look(const char* at, std::size_t seenBefore, std::size_t shift) {
    const text::Bytes16 bytes(at);
    const auto care = bytes.between('\0', ',') | bytes.between(';', '>') | bytes.equal('\\') |
                      bytes.equal('\x7F') | bytes;
    places_ |= static_cast<std::uint64_t>(care.mask() >> seenBefore) << shift;
    smallLetters_ |= bytes.between('a', 'z').mask();
  }

  std::string_view dn_;
  std::size_t windowBegin_ = 0;
  std::size_t windowEnd_ = 0;
  std::uint64_t places_ = 0;          // those left in the window
  text::PlaceMask smallLetters_ = 0;  // in any block
};

}  // namespace dirclient

#endif
