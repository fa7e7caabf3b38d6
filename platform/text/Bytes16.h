// Sixteen bytes of a text at a time, for loops that have to look at every byte of the input.
#ifndef PLATFORM_TEXT_BYTES16_H
#define PLATFORM_TEXT_BYTES16_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "platform/text/ascii.h"

namespace text {

/// How many bytes one look takes.
constexpr std::size_t bytesAtOnce = 16;

/// A set of the sixteen places: bit i stands for byte i.
using PlaceMask = std::uint32_t;
constexpr PlaceMask everyPlace = 0xFFFF;

/// The lowest place of a set that is not empty; of up to 64 places.
inline std::size_t firstPlace(std::uint64_t places) {
  return static_cast<std::size_t>(__builtin_ctzll(places));
}

/// Sixteen bytes, looked at one by one: what every machine can do. Answers come as sixteen bytes,
/// too, all bits set in each that says yes; mask() makes a set of places of them.
class PlainBytes16 {
 public:
  /// Reads the sixteen bytes at `at`.
  explicit PlainBytes16(const char* at) { std::memcpy(bytes_.data(), at, bytes_.size()); }

  void store(char* at) const { std::memcpy(at, bytes_.data(), bytes_.size()); }

  PlainBytes16 equal(char c) const {
    return where([c](std::uint8_t byte) { return byte == static_cast<std::uint8_t>(c); });
  }

  /// Which bytes are from `low` to `high`, as unsigned numbers.
  PlainBytes16 between(char low, char high) const {
    return where([low, high](std::uint8_t byte) {
      return byte >= static_cast<std::uint8_t>(low) && byte <= static_cast<std::uint8_t>(high);
    });
  }

  PlainBytes16 operator|(const PlainBytes16& other) const {
    PlainBytes16 result(*this);
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
      result.bytes_[i] = static_cast<std::uint8_t>(bytes_[i] | other.bytes_[i]);
    }
    return result;
  }

  /// Capitals as small letters; other bytes as something that is no letter either.
  PlainBytes16 withSmallLetters() const {
    PlainBytes16 result(*this);
    for (std::uint8_t& byte : result.bytes_) {
      byte = static_cast<std::uint8_t>(byte | 0x20U);
    }
    return result;
  }

  PlainBytes16 inUpperCase() const {
    PlainBytes16 result(*this);
    for (std::uint8_t& byte : result.bytes_) {
      byte = static_cast<std::uint8_t>(toAsciiUpper(static_cast<char>(byte)));
    }
    return result;
  }

  /// The places of the bytes whose highest bit is set: those that said yes, or, of a text, those
  /// outside ASCII.
  PlaceMask mask() const {
    PlaceMask mask = 0;
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
      mask |= static_cast<PlaceMask>(bytes_[i] >> 7U) << i;
    }
    return mask;
  }

 private:
  template <typename Predicate>
  PlainBytes16 where(const Predicate& predicate) const {
    PlainBytes16 result(*this);
    for (std::uint8_t& byte : result.bytes_) {
      byte = predicate(byte) ? 0xFF : 0;
    }
    return result;
  }

  std::array<std::uint8_t, bytesAtOnce> bytes_;
};

#if defined(__SSE2__)

/// The same by the SSE2 instructions, which every x86-64 machine has.
class Sse2Bytes16 {
 public:
  explicit Sse2Bytes16(const char* at)
      : bytes_(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at))) {}

  void store(char* at) const { _mm_storeu_si128(reinterpret_cast<__m128i*>(at), bytes_); }

  Sse2Bytes16 equal(char c) const { return Sse2Bytes16(_mm_cmpeq_epi8(bytes_, _mm_set1_epi8(c))); }

  Sse2Bytes16 between(char low, char high) const {
    const __m128i above = _mm_sub_epi8(bytes_, _mm_set1_epi8(low));
    const __m128i span = _mm_set1_epi8(static_cast<char>(high - low));
    return Sse2Bytes16(_mm_cmpeq_epi8(_mm_min_epu8(above, span), above));
  }

  Sse2Bytes16 operator|(const Sse2Bytes16& other) const {
    return Sse2Bytes16(_mm_or_si128(bytes_, other.bytes_));
  }

  Sse2Bytes16 withSmallLetters() const {
    return Sse2Bytes16(_mm_or_si128(bytes_, _mm_set1_epi8(0x20)));
  }

  Sse2Bytes16 inUpperCase() const {
    const __m128i caseBit = _mm_and_si128(between('a', 'z').bytes_, _mm_set1_epi8('a' - 'A'));
    return Sse2Bytes16(_mm_xor_si128(bytes_, caseBit));
  }

  PlaceMask mask() const { return static_cast<PlaceMask>(_mm_movemask_epi8(bytes_)); }

 private:
  explicit Sse2Bytes16(__m128i bytes) : bytes_(bytes) {}

  __m128i bytes_;
};

using Bytes16 = Sse2Bytes16;

#else

using Bytes16 = PlainBytes16;

#endif

}  // namespace text

#endif
