// What verify finds.
#ifndef ADMIN_DIFFERENCES_H
#define ADMIN_DIFFERENCES_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// A difference between the input and the files, or of the names in them.
struct Difference {
  enum Kind {
    unusableLine,   ///< of the input: a split ends there
    missingFile,    ///< there is no such file
    header,         ///< the file does not begin as it has to
    truncated,      ///< the file ends before its entries do
    changed,        ///< the entry stands there, but not byte for byte
    misplaced,      ///< the entry stands in another file than where it belongs
    outOfOrder,     ///< the entry stands at another place of its file
    doubled,        ///< the entry stands there once more
    missing,        ///< the entry stands nowhere
    foreign,        ///< an entry that does not belong there
    doubledInInput  ///< of the input: the name comes twice
  };
  static constexpr std::size_t kinds = doubledInInput + 1;

  Kind kind;
  std::string file;
  std::int64_t line;       ///< in that file; 0: none
  std::string dn;          ///< may be empty
  std::string expected;    ///< what was expected, or what to do
  std::int64_t inputLine;  ///< of the "dn" line; 0: there is none
};

/// Counts the differences of each kind and keeps the first of them.
class Differences {
 public:
  /// `limit`: how many are kept.
  explicit Differences(std::size_t limit) : limit_(limit) {}

  void add(Difference difference);

  /// So many more of a kind, without a word of each.
  void count(Difference::Kind kind, std::uint64_t number) { counts_[kind] += number; }

  std::uint64_t count(Difference::Kind kind) const { return counts_[kind]; }
  bool none() const;
  std::uint64_t total() const;
  const std::vector<Difference>& kept() const { return kept_; }
  bool isFull() const { return kept_.size() >= limit_; }

  /// Those that are kept, a line each, and how many more there are, on standard output.
  void print() const;

  /// A last line: what was compared, and the counts. They are the least that there may be where
  /// they are not exact.
  void printSummary(const std::string& what, bool isExact) const;

  /// "counts", "differences" and "more" of the result.
  void addTo(nlohmann::ordered_json& result) const;

 private:
  const std::size_t limit_;
  std::uint64_t counts_[Difference::kinds] = {};
  std::vector<Difference> kept_;
};

/// The word for a kind, as it stands in the text and in JSON.
const char* nameOf(Difference::Kind kind);

/// The result on standard output, as one line; bytes that are no UTF-8 are replaced.
void printJson(const nlohmann::ordered_json& result);

#endif
