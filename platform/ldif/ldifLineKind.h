// What kind of LDIF line this is, told without taking the line apart: most lines of an input are
// copied and nothing else. C++14 can read this header.
#ifndef PLATFORM_LDIF_LDIFLINEKIND_H
#define PLATFORM_LDIF_LDIFLINEKIND_H

#include <cstddef>
#include <cstdint>

#include "platform/text/Bytes16.h"

enum class LdifLineKind {
  /// str_parse_line_v_or_bv would find a type other than "dn", with a plain value or valid base64.
  attribute,
  /// "dn: ", the value that str_parse_line_v_or_bv would find, and a line feed, byte for byte.
  dn,
  /// Anything else: a line that str_parse_line_v_or_bv has to judge.
  other
};

/// So many bytes behind the end of a line have to be readable, whatever they hold: short lines are
/// looked at in blocks.
constexpr std::size_t ldifLinePadding = text::bytesAtOnce;

/// Whether the line, which ends with a line feed, is one of nearly all of those of a plain
/// attribute: a type of 1 to 16 letters, a colon and a blank. Not where it might be more than that:
/// "dn" in any case, and what might be "changetype".
inline bool isOrdinaryAttributeLine(const char* line) {
  const text::Bytes16 bytes(line);
  const text::PlaceMask letters = bytes.withSmallLetters().between('a', 'z').mask();
  const std::size_t size = text::firstPlace(~std::uint64_t{letters});
  const auto small = [line](std::size_t at) { return line[at] | 0x20; };
  return line[size] == ':' && line[size + 1] == ' ' && size > 0 &&
         !(size == 2 && small(0) == 'd' && small(1) == 'n') &&
         !(size == 10 && small(0) == 'c' && small(1) == 'h');
}

/// The kind of the logical line of `size` bytes at `line`, with its folds and its line end. `other`
/// is always a safe answer, and the one for an empty line or a comment.
LdifLineKind ldifLineKind(const char* line, std::size_t size);

#endif
