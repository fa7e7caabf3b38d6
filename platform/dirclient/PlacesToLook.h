// The bytes of a DN on which its syntax turns.
#ifndef PLATFORM_DIRCLIENT_PLACESTOLOOK_H
#define PLATFORM_DIRCLIENT_PLACESTOLOOK_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/text/Bytes16.h"

namespace dirclient {

/// Finds, from left to right, the ASCII characters of a DN that cannot stand in an attribute type.
/// All that separates, escapes or has to be escaped is among them, and so are blanks and control
/// bytes. Sixty-four bytes are looked at together.
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
    const std::size_t place = text::firstPlace(places_);
    places_ &= places_ - 1;
    return windowBegin_ + place;
  }

  /// Whether a byte outside ASCII is among what was looked at: at least all up to the last place.
  bool sawOutsideAscii() const { return outsideAscii_ != 0; }

  /// The same for small letters.
  bool sawLowerCase() const { return smallLetters_ != 0; }

 private:
  static constexpr std::size_t windowSize = 64;

  void lookAtNextWindow() {
    windowBegin_ = windowEnd_;
    windowEnd_ = std::min(windowBegin_ + windowSize, dn_.size());
    const std::size_t size = windowEnd_ - windowBegin_;
    std::size_t done = 0;
    for (; size - done >= text::bytesAtOnce; done += text::bytesAtOnce) {
      look(dn_.data() + windowBegin_ + done, 0, done);
    }
    const std::size_t left = size - done;
    if (left == 0) {
      return;
    }
    if (windowEnd_ >= text::bytesAtOnce) {
      // Some bytes before them are looked at a second time, and shifted out.
      look(dn_.data() + windowEnd_ - text::bytesAtOnce, text::bytesAtOnce - left, done);
    } else {
      // Letters, so that no place is found behind the end.
      std::array<char, text::bytesAtOnce> padded;
      padded.fill('A');
      dn_.copy(padded.data(), left);
      look(padded.data(), 0, done);
    }
  }

  /// Looks at sixteen bytes; the first `seen` of them do not count, and the others stand in the
  /// window from `offset` on.
  void look(const char* at, std::size_t seen, std::size_t offset) {
    const text::Bytes16 bytes(at);
    const auto inTypes = bytes.withSmallLetters().between('a', 'z') | bytes.between('0', '9') |
                         bytes.between('-', '.') | bytes.equal('_');
    const text::PlaceMask outsideAscii = bytes.mask();
    const text::PlaceMask places = ~(inTypes.mask() | outsideAscii) & text::everyPlace;
    places_ |= std::uint64_t{places >> seen} << offset;
    outsideAscii_ |= outsideAscii;
    smallLetters_ |= bytes.between('a', 'z').mask();
  }

  std::string_view dn_;
  std::size_t windowBegin_ = 0;
  std::size_t windowEnd_ = 0;
  std::uint64_t places_ = 0;          // those left in the window
  text::PlaceMask outsideAscii_ = 0;  // in any block
  text::PlaceMask smallLetters_ = 0;  // the same
};

}  // namespace dirclient

#endif
