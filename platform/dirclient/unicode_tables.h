// The Unicode 3.2 data behind RFC 4518 preparation; scripts/generate-unicode-tables.py prints them.
#ifndef PLATFORM_DIRCLIENT_UNICODE_TABLES_H
#define PLATFORM_DIRCLIENT_UNICODE_TABLES_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace dirclient::unicode {

/// What the steps ask of one code point. All is 0 or false for one that Unicode 3.2 did not assign.
struct CodePointClass {
  std::uint8_t combiningClass;  ///< canonical combining class, 0 for a starter
  bool combiningMark;           ///< Mn, Mc or Me (RFC 4518, appendix A)
  bool mappedToNothing;         ///< RFC 4518, section 2.2
  bool mappedToSpace;           ///< RFC 4518, section 2.2
  bool endsPair;                ///< composes with some code point before it, Hangul included
};

/// NFC writes `composite` for the two; sorted by both.
struct CompositionPair {
  char32_t first;
  char32_t second;
  char32_t composite;
};

namespace data {

// Two stages: the block number of each 128 code points, then the blocks. Positions point into
// `texts`, where a text's length stands before it.
extern const std::uint8_t classBlocks[];
extern const std::uint32_t classBlockCount;
extern const std::uint8_t classValues[];
extern const CodePointClass codePointClasses[];

extern const std::uint8_t foldingBlocks[];
extern const std::uint32_t foldingBlockCount;
extern const std::uint16_t foldingValues[];

extern const std::uint8_t decompositionBlocks[];
extern const std::uint32_t decompositionBlockCount;
extern const std::uint16_t decompositionValues[];

extern const std::uint8_t upperCaseBlocks[];
extern const std::uint32_t upperCaseBlockCount;
extern const std::int16_t upperCaseValues[];

// All below U+10000; the first blocks, below U+0800, stand in order.
constexpr std::uint32_t simpleBlockCount = 0x10000 >> 7U;
extern const std::uint8_t simpleBlocks[simpleBlockCount];
extern const std::int16_t simpleValues[];

extern const char32_t texts[];

extern const CompositionPair compositionPairs[];
extern const std::size_t compositionPairCount;

template <typename Value>
Value valueOf(char32_t c, const std::uint8_t* blocks, std::uint32_t blockCount,
              const Value* values) {
  const std::uint32_t block = c >> 7U;
  return block < blockCount ? values[(std::size_t{blocks[block]} << 7U) + (c & 0x7FU)] : Value{0};
}

inline std::u32string_view textAt(std::uint16_t position) {
  return {texts + position + 1, texts[position]};
}

}  // namespace data

inline const CodePointClass& classOf(char32_t c) {
  return data::codePointClasses[data::valueOf(c, data::classBlocks, data::classBlockCount,
                                              data::classValues)];
}

/// The mapping of RFC 3454, table B.2; empty for a code point that it does not hold.
inline std::u32string_view foldingOf(char32_t c) {
  return data::textAt(
      data::valueOf(c, data::foldingBlocks, data::foldingBlockCount, data::foldingValues));
}

/// The full compatibility decomposition; empty for a code point without one and for Hangul.
inline std::u32string_view decompositionOf(char32_t c) {
  return data::textAt(data::valueOf(c, data::decompositionBlocks, data::decompositionBlockCount,
                                    data::decompositionValues));
}

/// The simple upper case where table B.2 maps that back to `c` alone, else `c`. Meant for what NFKC
/// leaves: letters that it replaces have no entry.
inline char32_t upperCaseOf(char32_t c) {
  const int distance =
      data::valueOf(c, data::upperCaseBlocks, data::upperCaseBlockCount, data::upperCaseValues);
  return static_cast<char32_t>(static_cast<int>(c) + distance);
}

/// The distance of a code point that is not simple.
constexpr int notSimple = -0x8000;

/// How far the prepared upper case of a simple code point is from it. A code point below U+10000 is
/// simple where preparation without folding returns it, and with folding and upper case one code
/// point of as many bytes in UTF-8, whatever stands before it: nothing there composes with it or is
/// moved over it, and a blank there is one. What comes behind may still compose with it. A code
/// point that Unicode 3.2 did not assign is simple; a blank or a surrogate is not.
inline int simpleDistanceOf(char32_t c) {
  using namespace data;
  return c < 0x10000 ? valueOf(c, simpleBlocks, simpleBlockCount, simpleValues) : notSimple;
}

/// The same for a code point below U+0800.
inline int simpleDistanceBelow800(char32_t c) {
  return data::simpleValues[c];
}

inline std::span<const CompositionPair> compositionPairs() {
  return {data::compositionPairs, data::compositionPairCount};
}

}  // namespace dirclient::unicode

#endif
