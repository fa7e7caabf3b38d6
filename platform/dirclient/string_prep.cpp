#include "platform/dirclient/string_prep.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "platform/dirclient/unicode_tables.h"

namespace dirclient {
namespace {

constexpr char32_t space = U' ';

// --- ASCII -------------------------------------------------------------------------------------

/// What an ASCII byte becomes: itself or its capital, ' ' for a blank, NUL for nothing. In
/// telephone numbers a hyphen counts as a blank: neither stays.
using AsciiTable = std::array<char, 128>;

constexpr char preparedAscii(char c, LetterCase letterCase, Insignificant insignificant) {
  const bool isMappedToSpace = (c >= '\t' && c <= '\r') || c == ' ';
  if (isMappedToSpace || (c == '-' && insignificant == Insignificant::telephoneNumber)) {
    return ' ';
  }
  if (c < ' ' || c == '\x7F') {
    return '\0';
  }
  const bool isSmallLetter = c >= 'a' && c <= 'z';
  return letterCase == LetterCase::upper && isSmallLetter ? static_cast<char>(c - 'a' + 'A') : c;
}

constexpr AsciiTable asciiTable(LetterCase letterCase, Insignificant insignificant) {
  AsciiTable table{};
  for (std::size_t i = 0; i < table.size(); ++i) {
    table[i] = preparedAscii(static_cast<char>(i), letterCase, insignificant);
  }
  return table;
}

// Eight bytes at once; which of them comes first does not matter to any of these.
using Word = std::uint64_t;
constexpr Word everyByte = 0x0101010101010101;
constexpr Word highBits = 0x80 * everyByte;

bool hasNonAscii(Word word) {
  return (word & highBits) != 0;
}

bool hasControl(Word ascii) {
  const Word fromSpace = ascii + (0x80 - ' ') * everyByte;
  const Word isDelete = ascii + everyByte;
  return ((~fromSpace | isDelete) & highBits) != 0;
}

/// The high bit of each byte that is SPACE.
Word spacesIn(Word ascii) {
  const Word isOther = (ascii ^ (' ' * everyByte)) + 0x7F * everyByte;
  return ~isOther & highBits;
}

Word upperCase(Word ascii) {
  const Word fromSmallA = ascii + (0x80 - 'a') * everyByte;
  const Word aboveSmallZ = ascii + (0x7F - 'z') * everyByte;
  return ascii ^ ((fromSmallA & ~aboveSmallZ & highBits) >> 2U);
}

// --- UTF-8, RFC 3629 ---------------------------------------------------------------------------

/// The payload bits of a continuation byte; 64 and more of any other byte.
unsigned continuationBits(char c) {
  return static_cast<unsigned char>(c) ^ 0x80U;
}

bool isContinuation(unsigned bits) {
  return bits < 0x40;
}

constexpr std::size_t longestUtf8 = 4;

/// Reads the code point at the head of `utf8`, which is not empty. Returns how many bytes it takes,
/// 0 where no well-formed sequence stands there.
inline std::size_t readUtf8(std::string_view utf8, char32_t& c) {
  const unsigned lead = static_cast<unsigned char>(utf8[0]);
  if (lead < 0x80) {
    c = lead;
    return 1;
  }
  if (lead < 0xE0) {
    if (lead < 0xC2 || utf8.size() < 2) {
      return 0;
    }
    const unsigned second = continuationBits(utf8[1]);
    c = ((lead & 0x1FU) << 6U) | second;
    return isContinuation(second) ? 2 : 0;
  }
  if (utf8.size() < 3) {
    return 0;
  }
  const unsigned second = continuationBits(utf8[1]);
  const unsigned third = continuationBits(utf8[2]);
  if (lead < 0xF0) {
    c = ((lead & 0xFU) << 12U) | (second << 6U) | third;
    const bool isSurrogate = (c & 0xF800U) == 0xD800U;
    return isContinuation(second | third) && c >= 0x800 && !isSurrogate ? 3 : 0;
  }
  if (lead >= 0xF5 || utf8.size() < longestUtf8) {
    return 0;
  }
  const unsigned fourth = continuationBits(utf8[3]);
  c = ((lead & 0x7U) << 18U) | (second << 12U) | (third << 6U) | fourth;
  return isContinuation(second | third | fourth) && c >= 0x10000 && c <= 0x10FFFF ? 4 : 0;
}

/// The continuation byte for the low six bits.
char continuationByte(char32_t c) {
  return static_cast<char>(0x80U | (c & 0x3FU));
}

/// Writes `c` at `out` and returns the place behind it.
char* writeUtf8(char* out, char32_t c) {
  if (c < 0x80) {
    *out++ = static_cast<char>(c);
  } else if (c < 0x800) {
    *out++ = static_cast<char>(0xC0U | (c >> 6U));
    *out++ = continuationByte(c);
  } else if (c < 0x10000) {
    *out++ = static_cast<char>(0xE0U | (c >> 12U));
    *out++ = continuationByte(c >> 6U);
    *out++ = continuationByte(c);
  } else {
    *out++ = static_cast<char>(0xF0U | (c >> 18U));
    *out++ = continuationByte(c >> 12U);
    *out++ = continuationByte(c >> 6U);
    *out++ = continuationByte(c);
  }
  return out;
}

// --- The result --------------------------------------------------------------------------------

/// The result, with room behind its end: who made sure of the room writes there without a check.
class Output {
 public:
  Output(std::pmr::string& prepared, std::size_t room) : text(prepared), start(prepared.size()) {
    text.resize(start + room);
    end = begin();
  }

  char* begin() const { return text.data() + start; }

  void makeRoom(std::size_t room) {
    const auto size = static_cast<std::size_t>(end - text.data());
    if (text.size() - size < room) {
      text.resize(std::max(size + room, 2 * text.size()));
      end = text.data() + size;
    }
  }

  /// Cuts the room off.
  void finish() { text.resize(static_cast<std::size_t>(end - text.data())); }

  /// Leaves the text as it was before.
  void withdraw() { text.resize(start); }

  // What the writers move on.
  char* end = nullptr;
  bool isGapPending = false;  ///< blanks were left out, and one may stand for them

 private:
  std::pmr::string& text;
  const std::size_t start;
};

// --- Simple code points ------------------------------------------------------------------------

/// The fast path: one pass over simple code points and the blanks of ASCII, from the text to their
/// place in the result, without working memory. Where blanks go altogether, it takes ASCII only: it
/// does not know the hyphens outside ASCII, nor the Hangul letters that must stay apart.
template <LetterCase letterCase, Insignificant insignificant>
class SimpleRun {
 public:
  /// `output` needs room for `utf8`, and for one byte more where a gap is pending.
  SimpleRun(std::string_view utf8, const Output& output)
      : first(utf8.data()),
        next(utf8.data()),
        last(utf8.data() + utf8.size()),
        begin(output.begin()),
        out(output.end),
        pendingBlanks(output.isGapPending ? 1 : 0) {}

  /// Goes on to the first code point that is not simple. False where there is one.
  bool run() {
    while (next != last) {
      const char* bound = last;
      if (left() >= sizeof(Word)) {
        Word word = 0;
        std::memcpy(&word, next, sizeof word);
        if (isTakenWhole(word)) {
          takeWord(word);
          continue;
        }
        bound = next + sizeof word;
      }
      while (next < bound) {
        if (!takeCodePoint()) {
          return false;
        }
      }
    }
    return true;
  }

  /// Gives back the code point that was taken last, if any: what follows may compose with it, or
  /// may be a mark that makes a blank significant.
  void giveBackLast() {
    if (next == first) {
      return;
    }
    if (pendingBlanks != 0) {
      --next;
      --pendingBlanks;
      return;
    }
    do {
      --next;
    } while (isContinuation(continuationBits(*next)));
    do {
      --out;
    } while (isContinuation(continuationBits(*out)));
  }

  std::string_view rest() const { return {next, left()}; }

  void commit(Output& output) const {
    output.end = out;
    output.isGapPending = pendingBlanks != 0;
  }

 private:
  std::size_t left() const { return static_cast<std::size_t>(last - next); }

  /// Whether each byte has its place in the result, as a blank between two others has.
  bool isTakenWhole(Word word) const {
    if (!isHyphenKept || hasNonAscii(word) || hasControl(word)) {
      return false;
    }
    const Word blanks = spacesIn(word);
    const bool areApart = (blanks & (blanks << 8U)) == 0;
    return blanks == 0 || (isInnerBlankKept && areApart && next[0] != ' ' && next[7] != ' ');
  }

  void takeWord(Word word) {
    writePendingBlank();
    word = isUpper ? upperCase(word) : word;
    std::memcpy(out, &word, sizeof word);
    out += sizeof word;
    next += sizeof word;
  }

  /// Code points of four bytes are rare, and left to the other path.
  bool takeCodePoint() {
    const unsigned lead = static_cast<unsigned char>(*next);
    if (lead < table.size()) {
      return takeAscii(table[lead]);
    }
    if (!isInnerBlankKept) {
      return false;
    }
    return lead < 0xE0 ? takeTwoBytes(lead) : lead < 0xF0 && takeThreeBytes(lead);
  }

  bool takeAscii(char c) {
    if (c > ' ') {
      writePendingBlank();
      *out++ = c;
    } else if (c == ' ') {
      ++pendingBlanks;
    } else {
      return false;
    }
    ++next;
    return true;
  }

  bool takeTwoBytes(unsigned lead) {
    if (left() < 2) {
      return false;
    }
    const unsigned second = continuationBits(next[1]);
    char32_t c = ((lead & 0x1FU) << 6U) | second;
    if (!isContinuation(second) || lead < 0xC2 ||
        !prepareSimple(c, unicode::simpleDistanceBelow800(c))) {
      return false;
    }
    writePendingBlank();
    out[0] = static_cast<char>(0xC0U | (c >> 6U));
    out[1] = continuationByte(c);
    out += 2;
    next += 2;
    return true;
  }

  bool takeThreeBytes(unsigned lead) {
    if (left() < 3) {
      return false;
    }
    const unsigned second = continuationBits(next[1]);
    const unsigned third = continuationBits(next[2]);
    const char32_t written = ((lead & 0xFU) << 12U) | (second << 6U) | third;
    char32_t c = written;
    if (!isContinuation(second | third) || c < 0x800 ||
        !prepareSimple(c, unicode::simpleDistanceOf(c))) {
      return false;
    }
    writePendingBlank();
    if (c == written) {
      std::memcpy(out, next, 3);
    } else {
      out[0] = static_cast<char>(0xE0U | (c >> 12U));
      out[1] = continuationByte(c >> 6U);
      out[2] = continuationByte(c);
    }
    out += 3;
    next += 3;
    return true;
  }

  /// Makes the prepared code point of a simple one; false where it is not simple.
  static bool prepareSimple(char32_t& c, int distance) {
    c = isUpper ? static_cast<char32_t>(static_cast<int>(c) + distance) : c;
    return distance != unicode::notSimple;
  }

  void writePendingBlank() {
    if (pendingBlanks != 0) {
      writeGap();
    }
  }

  void writeGap() {
    if (isInnerBlankKept && out != begin) {
      *out++ = ' ';
    }
    pendingBlanks = 0;
  }

  static constexpr AsciiTable table = asciiTable(letterCase, insignificant);
  static constexpr bool isUpper = letterCase == LetterCase::upper;
  static constexpr bool isInnerBlankKept = insignificant == Insignificant::spaces;
  static constexpr bool isHyphenKept = insignificant != Insignificant::telephoneNumber;

  const char* const first;
  const char* next;
  const char* const last;
  char* const begin;
  char* out;
  std::size_t pendingBlanks;  ///< taken since the last code point that was written
};

// --- Hangul, Unicode 3.2, section 3.11 ---------------------------------------------------------

constexpr char32_t leadBase = 0x1100;
constexpr char32_t vowelBase = 0x1161;
constexpr char32_t trailBase = 0x11A7;
constexpr char32_t syllableBase = 0xAC00;
constexpr char32_t leadCount = 19;
constexpr char32_t vowelCount = 21;
constexpr char32_t trailCount = 28;
constexpr char32_t syllableCount = leadCount * vowelCount * trailCount;

bool isHangulSyllable(char32_t c) {
  return c >= syllableBase && c < syllableBase + syllableCount;
}

/// The syllable of the two, or 0.
char32_t composedHangul(char32_t first, char32_t second) {
  if (first >= leadBase && first < leadBase + leadCount && second >= vowelBase &&
      second < vowelBase + vowelCount) {
    return syllableBase + ((first - leadBase) * vowelCount + (second - vowelBase)) * trailCount;
  }
  if (isHangulSyllable(first) && (first - syllableBase) % trailCount == 0 && second > trailBase &&
      second < trailBase + trailCount) {
    return first + (second - trailBase);
  }
  return 0;
}

/// The primary composite of the two, or 0.
char32_t composed(char32_t first, char32_t second) {
  if (const char32_t syllable = composedHangul(first, second); syllable != 0) {
    return syllable;
  }
  const auto pairs = unicode::compositionPairs();
  const auto found = std::lower_bound(
      pairs.begin(), pairs.end(), first, [second](const auto& pair, char32_t wanted) {
        return pair.first != wanted ? pair.first < wanted : pair.second < second;
      });
  const bool isFound = found != pairs.end() && found->first == first && found->second == second;
  return isFound ? found->composite : 0;
}

// --- Insignificant characters and upper case ---------------------------------------------------

/// Writes what is significant of a normalised text (RFC 4518, section 2.6), in upper case if
/// wanted. A blank or hyphen that is the last thing written stays held, and so is left out.
class SignificantWriter {
 public:
  SignificantWriter(LetterCase letterCase, Insignificant insignificant, Output& prepared)
      : isUpper(letterCase == LetterCase::upper), handling(insignificant), output(prepared) {}

  void write(char32_t c) {
    if (held != 0) {
      settleHeld(c);
    }
    if (isInsignificant(c)) {
      held = c;
    } else {
      append(c);
    }
  }

  /// No mark follows.
  void settleHeldAsBlank() {
    if (held != 0) {
      held = 0;
      output.isGapPending = true;
    }
  }

 private:
  /// Whether `c` is left out unless a combining mark follows. NFKC has replaced the other hyphens
  /// of section 2.6.3 by these: U+2011 by U+2010, U+FE63 and U+FF0D by U+002D.
  bool isInsignificant(char32_t c) const {
    const bool isHyphen = c == 0x2D || c == 0x58A || c == 0x2010 || c == 0x2212;
    return c == space || (isHyphen && handling == Insignificant::telephoneNumber);
  }

  void settleHeld(char32_t next) {
    if (unicode::classOf(next).combiningMark) {
      append(std::exchange(held, 0));
    } else {
      settleHeldAsBlank();
    }
  }

  void append(char32_t c) {
    output.makeRoom(1 + longestUtf8);
    if (output.isGapPending && isGapWritten(c)) {
      *output.end++ = ' ';
    }
    output.isGapPending = false;
    last = c;
    output.end = writeUtf8(output.end, isUpper ? unicode::upperCaseOf(c) : c);
  }

  /// Where blanks go altogether, one stays between two Hangul letters that would otherwise join to
  /// a syllable. The rules tell such letters from the syllable, and preparing a second time must
  /// not join them. Nothing else that may follow a blank composes: the rest are combining marks.
  bool isGapWritten(char32_t next) const {
    const bool isInner = output.end != output.begin();
    return isInner && (handling == Insignificant::spaces || composedHangul(last, next) != 0);
  }

  const bool isUpper;
  const Insignificant handling;
  Output& output;
  char32_t held = 0;  ///< a blank or hyphen; what follows decides whether it is one
  char32_t last = 0;
};

// --- NFKC, UAX #15 with Unicode 3.2 ------------------------------------------------------------

/// Composes decomposed text, run by run. A run begins at a starter that composes with nothing
/// before it; so the runs before it are final.
class Composer {
 public:
  /// More than the usual run takes memory from `upstream`.
  Composer(SignificantWriter& significant, std::pmr::memory_resource* upstream)
      : writer(significant), memory(stack.data(), stack.size(), upstream), run(&memory) {
    run.reserve(usualRun);
  }

  /// Takes the next code point of the decomposed text, its marks in any order.
  void add(char32_t c) {
    const unicode::CodePointClass& properties = unicode::classOf(c);
    if (properties.combiningClass == 0 && !properties.endsPair) {
      flush();
    }
    run.push_back(Element{run.size(), c, properties.combiningClass});
  }

  void flush() {
    if (run.size() > 1) {
      reorder();
      compose();
    }
    for (const Element& element : run) {
      writer.write(element.codePoint);
    }
    run.clear();
  }

 private:
  static constexpr std::size_t usualRun = 16;

  struct Element {
    std::size_t place;
    char32_t codePoint;
    std::uint8_t combiningClass;
  };

  /// Canonical ordering: marks between two starters by class, those of one class as they stood.
  /// std::stable_sort would take memory of its own; the places make std::sort stable.
  void reorder() {
    const auto isStarter = [](const Element& element) { return element.combiningClass == 0; };
    auto begin = run.begin();
    while (begin != run.end()) {
      begin = std::find_if_not(begin, run.end(), isStarter);
      const auto end = std::find_if(begin, run.end(), isStarter);
      std::sort(begin, end, [](const Element& a, const Element& b) {
        return a.combiningClass != b.combiningClass ? a.combiningClass < b.combiningClass
                                                    : a.place < b.place;
      });
      begin = end;
    }
  }

  /// Canonical composition in place. A code point is blocked from the starter by anything between
  /// them of the same or a higher class, or by another starter: the reading of Corrigendum #5,
  /// under which normalising twice changes nothing.
  void compose() {
    std::size_t kept = 0;
    std::size_t starter = 0;
    bool hasStarter = false;
    for (const Element element : run) {
      if (hasStarter && !isBlocked(element, starter, kept)) {
        if (const char32_t composite = composed(run[starter].codePoint, element.codePoint);
            composite != 0) {
          run[starter].codePoint = composite;
          continue;
        }
      }
      if (element.combiningClass == 0) {
        hasStarter = true;
        starter = kept;
      }
      run[kept++] = element;
    }
    run.resize(kept, Element{});
  }

  bool isBlocked(const Element& element, std::size_t starter, std::size_t kept) const {
    return kept != starter + 1 && run[kept - 1].combiningClass >= element.combiningClass;
  }

  SignificantWriter& writer;
  alignas(Element) std::array<std::byte, usualRun * sizeof(Element)> stack;
  std::pmr::monotonic_buffer_resource memory;
  std::pmr::vector<Element> run;
};

void addDecomposedHangul(Composer& composer, char32_t syllable) {
  const char32_t index = syllable - syllableBase;
  composer.add(leadBase + index / (vowelCount * trailCount));
  composer.add(vowelBase + index / trailCount % vowelCount);
  if (index % trailCount != 0) {
    composer.add(trailBase + index % trailCount);
  }
}

void addDecomposed(Composer& composer, char32_t c) {
  if (isHangulSyllable(c)) {
    addDecomposedHangul(composer, c);
    return;
  }
  const std::u32string_view decomposition = unicode::decompositionOf(c);
  if (decomposition.empty()) {
    composer.add(c);
  }
  for (const char32_t part : decomposition) {
    composer.add(part);
  }
}

void addFolded(Composer& composer, char32_t c) {
  const std::u32string_view folding = unicode::foldingOf(c);
  if (folding.empty()) {
    addDecomposed(composer, c);
  }
  for (const char32_t part : folding) {
    addDecomposed(composer, part);
  }
}

/// Section 2.2, and on to the next steps.
void addMapped(Composer& composer, char32_t c, LetterCase letterCase) {
  const unicode::CodePointClass& properties = unicode::classOf(c);
  if (properties.mappedToNothing) {
    return;
  }
  if (properties.mappedToSpace) {
    composer.add(space);
  } else if (letterCase == LetterCase::upper) {
    addFolded(composer, c);
  } else {
    addDecomposed(composer, c);
  }
}

/// All steps, for what is not simple. Upper case comes last. Preparing the result again returns it
/// all the same: a letter is replaced by its capital only where table B.2 folds the capital back to
/// the letter, and folding comes first.
class FullPreparation {
 public:
  FullPreparation(LetterCase foldedOrKept, Insignificant insignificant, Output& prepared,
                  std::pmr::memory_resource* memory)
      : letterCase(foldedOrKept),
        endsBeforeSimple(insignificant == Insignificant::spaces),
        writer(foldedOrKept, insignificant, prepared),
        composer(writer, memory) {}

  /// Takes the first code point and goes on to the next simple one, where SimpleRun takes over; to
  /// the end where it could not. False where the text is not well-formed.
  bool run(std::string_view& utf8) {
    do {
      char32_t c = 0;
      const std::size_t length = readUtf8(utf8, c);
      if (length == 0) {
        return false;
      }
      addMapped(composer, c, letterCase);
      utf8.remove_prefix(length);
    } while (!utf8.empty() && !(endsBeforeSimple && isSimpleNext(utf8)));
    composer.flush();
    writer.settleHeldAsBlank();
    return true;
  }

 private:
  static bool isSimpleNext(std::string_view utf8) {
    char32_t c = 0;
    return readUtf8(utf8, c) != 0 && unicode::simpleDistanceOf(c) != unicode::notSimple;
  }

  const LetterCase letterCase;
  const bool endsBeforeSimple;
  SignificantWriter writer;
  Composer composer;
};

/// Moves the simple head of `rest` into the result. True where nothing is left; else the last code
/// point before the one that is not simple stays in `rest` with it.
template <LetterCase letterCase, Insignificant insignificant>
bool takeSimple(std::string_view& rest, Output& output) {
  SimpleRun<letterCase, insignificant> simple(rest, output);
  const bool isAll = simple.run();
  if (!isAll) {
    simple.giveBackLast();
  }
  rest = simple.rest();
  simple.commit(output);
  return isAll;
}

template <LetterCase letterCase>
bool takeSimple(Insignificant insignificant, std::string_view& rest, Output& output) {
  switch (insignificant) {
    case Insignificant::numericString:
      return takeSimple<letterCase, Insignificant::numericString>(rest, output);
    case Insignificant::telephoneNumber:
      return takeSimple<letterCase, Insignificant::telephoneNumber>(rest, output);
    case Insignificant::spaces:
      break;
  }
  return takeSimple<letterCase, Insignificant::spaces>(rest, output);
}

bool takeSimple(LetterCase letterCase, Insignificant insignificant, std::string_view& rest,
                Output& output) {
  return letterCase == LetterCase::upper
             ? takeSimple<LetterCase::upper>(insignificant, rest, output)
             : takeSimple<LetterCase::keep>(insignificant, rest, output);
}

bool writePrepared(std::string_view utf8, LetterCase letterCase, Insignificant insignificant,
                   Output& output, std::pmr::memory_resource* memory) {
  std::string_view rest = utf8;
  if (takeSimple(letterCase, insignificant, rest, output)) {
    return true;
  }
  FullPreparation full(letterCase, insignificant, output, memory);
  do {
    if (!full.run(rest)) {
      return false;
    }
    output.makeRoom(rest.size() + 1);
  } while (!takeSimple(letterCase, insignificant, rest, output));
  return true;
}

}  // namespace

bool prepareString(std::string_view utf8, LetterCase letterCase, Insignificant insignificant,
                   std::pmr::string& prepared) {
  Output output(prepared, utf8.size());
  const bool isWellFormed =
      writePrepared(utf8, letterCase, insignificant, output, prepared.get_allocator().resource());
  if (isWellFormed) {
    output.finish();
  } else {
    output.withdraw();
  }
  return isWellFormed;
}

}  // namespace dirclient
