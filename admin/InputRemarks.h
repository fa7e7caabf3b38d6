// What is said about the lines of an input.
#ifndef ADMIN_INPUTREMARKS_H
#define ADMIN_INPUTREMARKS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "ldifsplit/SplitObserver.h"
#include "platform/messages/MessageReceiver.h"

/// Prints each remark as it comes, "FILE:LINE: what, cure" on standard error, and keeps the numbers
/// of the lines for a summary.
class InputRemarks {
 public:
  enum Kind : std::size_t {
    unusableDn,        ///< a "dn" line whose value is no usable DN
    notLdif,           ///< a line that cannot be parsed
    emptyInput,        ///< there is no line at all
    unwritableLine,    ///< a line without a type
    inPieces,          ///< an overlong line, read in pieces
    misreadPiece,      ///< a piece of one that changes the output
    dnInOtherCase,     ///< the first line whose type is "dn" but for its case
    changeRecord,      ///< the first "changetype" line
    beforeTheFirstDn,  ///< the first attribute line before the first "dn" line
    noLineEnd,         ///< the last line has no line end
    kindCount
  };

  /// Of each kind so many line numbers are kept; those behind them are counted.
  static constexpr std::size_t mostLinesKept = 10000;

  struct Lines {
    std::uint64_t count = 0;
    std::vector<int> kept;  ///< in the order of the input
  };

  explicit InputRemarks(std::string inputFile) : inputFile_(std::move(inputFile)) {}

  /// `dn`: what stands there in place of a DN; may be empty.
  void add(Kind kind, int line, const std::string& dn);
  void add(const ldifsplit::UnusableLine& line);

  /// A warning of the split; false where it is not about a line.
  bool add(const Message& message);

  const Lines& of(Kind kind) const { return lines_[kind]; }

  /// The key of a kind in JSON.
  static const char* keyOf(Kind kind);

  /// Whether a split would end at one of the lines.
  bool endsSplit() const;

 private:
  const std::string inputFile_;
  std::array<Lines, kindCount> lines_;
};

#endif
