#include "platform/dirclient/string_prep.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
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

const AsciiTable& asciiTableOf(LetterCase letterCase, Insignificant insignificant) {
  static constexpr AsciiTable kept = asciiTable(LetterCase::keep, Insignificant::spaces);
  static constexpr AsciiTable keptPhone =
      asciiTable(LetterCase::keep, Insignificant::telephoneNumber);
  static constexpr AsciiTable upper = asciiTable(LetterCase::upper, Insignificant::spaces);
  static constexpr AsciiTable upperPhone =
      asciiTable(LetterCase::upper, Insignificant::telephoneNumber);
  const bool isPhone = insignificant == Insignificant::telephoneNumber;
  if (letterCase == LetterCase::keep) {
    return isPhone ? keptPhone : kept;
  }
  return isPhone ? upperPhone : upper;
}

// Eight bytes at once; which of them comes first does not matter to any of these.
using Word = std::uint64_t;
constexpr Word everyByte = 0x0101010101010101;
constexpr Word highBits = 0x80 * everyByte;

bool hasNonAscii(Word word) {
  return (word & highBits) != 0;
}

/// Of an ASCII word: whether a byte is a blank or a control.
bool hasBlankOrControl(Word word) {
  const Word aboveSpace = word + (0x7F - ' ') * everyByte;
  const Word isDelete = word + everyByte;
  return (~aboveSpace & highBits) != 0 || (isDelete & highBits) != 0;
}

Word upperCase(Word ascii) {
  const Word fromSmallA = ascii + (0x80 - 'a') * everyByte;
  const Word aboveSmallZ = ascii + (0x7F - 'z') * everyByte;
  return ascii ^ ((fromSmallA & ~aboveSmallZ & highBits) >> 2U);
}

/// The fast path: one pass from the text to its place in the result, without working memory.
class AsciiPreparation {
 public:
  AsciiPreparation(LetterCase letterCase, Insignificant insignificant)
      : table(asciiTableOf(letterCase, insignificant)),
        isUpper(letterCase == LetterCase::upper),
        isInnerBlankKept(insignificant == Insignificant::spaces),
        isHyphenKept(insignificant != Insignificant::telephoneNumber) {}

  /// False, with `prepared` as it was, where `text` is not all ASCII.
  bool append(std::string_view text, std::pmr::string& prepared) {
    const std::size_t start = prepared.size();
    prepared.resize(start + text.size());
    begin = prepared.data() + start;
    out = begin;
    const bool isAscii = write(text);
    prepared.resize(isAscii ? static_cast<std::size_t>(out - prepared.data()) : start);
    return isAscii;
  }

 private:
  bool write(std::string_view text) {
    while (text.size() >= sizeof(Word)) {
      Word word = 0;
      std::memcpy(&word, text.data(), sizeof word);
      if (hasNonAscii(word)) {
        return false;
      }
      if (isHyphenKept && !hasBlankOrControl(word)) {
        writeWord(word);
      } else {
        writeBytes(text.substr(0, sizeof word));
      }
      text.remove_prefix(sizeof word);
    }
    return writeBytes(text);
  }

  void writeWord(Word word) {
    writePendingBlank();
    word = isUpper ? upperCase(word) : word;
    std::memcpy(out, &word, sizeof word);
    out += sizeof word;
  }

  bool writeBytes(std::string_view text) {
    for (const char c : text) {
      const auto byte = static_cast<unsigned char>(c);
      if (byte >= table.size()) {
        return false;
      }
      writeByte(table[byte]);
    }
    return true;
  }

  void writeByte(char c) {
    if (c == ' ') {
      isBlankPending = true;
    } else if (c != '\0') {
      writePendingBlank();
      *out++ = c;
    }
  }

  void writePendingBlank() {
    if (isBlankPending && isInnerBlankKept && out != begin) {
      *out++ = ' ';
    }
    isBlankPending = false;
  }

  const AsciiTable& table;
  const bool isUpper;
  const bool isInnerBlankKept;
  const bool isHyphenKept;
  char* begin = nullptr;
  char* out = nullptr;
  bool isBlankPending = false;
};

// --- UTF-8, RFC 3629 ---------------------------------------------------------------------------

class Utf8Reader {
 public:
  explicit Utf8Reader(std::string_view utf8) : rest(utf8) {}

  bool isAtEnd() const { return rest.empty(); }

  /// Takes the next code point; false where no well-formed sequence stands there.
  bool read(char32_t& c) {
    const unsigned char lead = byteAt(0);
    if (lead < 0x80) {
      return take(1, lead, c);
    }
    if ((lead & 0xE0U) == 0xC0U) {
      return readContinuation(2, lead & 0x1FU, 0x80, c);
    }
    if ((lead & 0xF0U) == 0xE0U) {
      return readContinuation(3, lead & 0x0FU, 0x800, c);
    }
    if ((lead & 0xF8U) == 0xF0U) {
      return readContinuation(4, lead & 0x07U, 0x10000, c);
    }
    return false;
  }

 private:
  unsigned char byteAt(std::size_t i) const { return static_cast<unsigned char>(rest[i]); }

  /// The bytes after the lead byte; what is below `least` would be an overlong form.
  bool readContinuation(std::size_t length, char32_t leadBits, char32_t least, char32_t& c) {
    if (rest.size() < length) {
      return false;
    }
    char32_t value = leadBits;
    for (std::size_t i = 1; i < length; ++i) {
      if ((byteAt(i) & 0xC0U) != 0x80U) {
        return false;
      }
      value = (value << 6U) | (byteAt(i) & 0x3FU);
    }
    const bool isSurrogate = value >= 0xD800 && value <= 0xDFFF;
    return value >= least && value <= 0x10FFFF && !isSurrogate && take(length, value, c);
  }

  bool take(std::size_t length, char32_t value, char32_t& c) {
    rest.remove_prefix(length);
    c = value;
    return true;
  }

  std::string_view rest;
};

void appendUtf8(std::pmr::string& text, char32_t c) {
  const auto continuation = [c](unsigned shift) {
    return static_cast<char>(0x80U | ((c >> shift) & 0x3FU));
  };
  if (c < 0x80) {
    text += static_cast<char>(c);
  } else if (c < 0x800) {
    text += static_cast<char>(0xC0U | (c >> 6U));
    text += continuation(0);
  } else if (c < 0x10000) {
    text += static_cast<char>(0xE0U | (c >> 12U));
    text += continuation(6);
    text += continuation(0);
  } else {
    text += static_cast<char>(0xF0U | (c >> 18U));
    text += continuation(12);
    text += continuation(6);
    text += continuation(0);
  }
}

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
  SignificantWriter(LetterCase letterCase, Insignificant insignificant, std::pmr::string& prepared)
      : isUpper(letterCase == LetterCase::upper),
        handling(insignificant),
        text(prepared),
        start(prepared.size()) {}

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

 private:
  /// Provided that no combining mark follows. NFKC has made the other hyphens of section 2.6.3 into
  /// these: U+2011 into U+2010, U+FE63 and U+FF0D into U+002D.
  bool isInsignificant(char32_t c) const {
    const bool isHyphen = c == 0x2D || c == 0x58A || c == 0x2010 || c == 0x2212;
    return c == space || (isHyphen && handling == Insignificant::telephoneNumber);
  }

  void settleHeld(char32_t next) {
    const char32_t settled = held;
    held = 0;
    if (unicode::classOf(next).combiningMark) {
      append(settled);
    } else {
      isGapPending = true;
    }
  }

  void append(char32_t c) {
    if (isGapPending && isGapWritten(c)) {
      text += ' ';
    }
    isGapPending = false;
    last = c;
    appendUtf8(text, isUpper ? unicode::upperCaseOf(c) : c);
  }

  /// Where blanks go altogether, one stays between two Hangul letters that would otherwise join to
  /// a syllable. The rules tell such letters from the syllable, and preparing a second time must
  /// not join them. Nothing else that may follow a blank composes: the rest are combining marks.
  bool isGapWritten(char32_t next) const {
    const bool isInner = text.size() != start;
    return isInner && (handling == Insignificant::spaces || composedHangul(last, next) != 0);
  }

  const bool isUpper;
  const Insignificant handling;
  std::pmr::string& text;
  const std::size_t start;
  char32_t held = 0;  ///< a blank or hyphen; what follows decides whether it is one
  char32_t last = 0;
  bool isGapPending = false;
};

// --- NFKC, UAX #15 with Unicode 3.2 ------------------------------------------------------------

/// Composes decomposed text. It works on runs: a run begins where no composition can reach back, at
/// a starter that ends no pair, and what is before it is final.
class Composer {
 public:
  Composer(SignificantWriter& significant, std::pmr::memory_resource* memory)
      : writer(significant), run(memory) {
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

/// Upper case comes last and is safe there: only code points that table B.2 takes straight back
/// change, and the next preparation folds before it normalises. So it sees what this one saw.
bool appendPrepared(std::string_view utf8, LetterCase letterCase, Insignificant insignificant,
                    std::pmr::string& prepared) {
  SignificantWriter writer(letterCase, insignificant, prepared);
  Composer composer(writer, prepared.get_allocator().resource());
  Utf8Reader reader(utf8);
  while (!reader.isAtEnd()) {
    char32_t c = 0;
    if (!reader.read(c)) {
      return false;
    }
    addMapped(composer, c, letterCase);
  }
  composer.flush();
  return true;
}

}  // namespace

bool prepareString(std::string_view utf8, LetterCase letterCase, Insignificant insignificant,
                   std::pmr::string& prepared) {
  if (AsciiPreparation(letterCase, insignificant).append(utf8, prepared)) {
    return true;
  }
  const std::size_t start = prepared.size();
  prepared.reserve(start + utf8.size());
  const bool isWellFormed = appendPrepared(utf8, letterCase, insignificant, prepared);
  if (!isWellFormed) {
    prepared.resize(start);
  }
  return isWellFormed;
}

}  // namespace dirclient
