// Sets of names, compared in constant memory.
#ifndef ADMIN_NAMETABLE_H
#define ADMIN_NAMETABLE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "admin/KeyedHash.h"

/// For each of some files, sums over the names that are expected in it and over those that are
/// found, in buckets by the name: a bucket whose two sums are equal has equal names on both sides.
/// The order of the names does not matter.
class NameTable {
 public:
  enum class Side { expected, found };

  explicit NameTable(std::size_t files);

  void add(std::size_t file, const Fingerprint& name, Side side);

  /// Whether no bucket differs.
  bool isEqual() const;

  /// Divides the buckets that differ among passes, so that those of one pass hold no more than
  /// about `most` names, and gives the number of passes.
  std::size_t dividePasses(std::uint64_t most);

  /// Whether the name's bucket differs and is of that pass.
  bool isOfPass(std::size_t file, const Fingerprint& name, std::size_t pass) const;

  /// How many names at least are expected and not found, or found and not expected, in the buckets
  /// of that pass and of those behind it.
  struct Least {
    std::uint64_t missing = 0;
    std::uint64_t foreign = 0;
  };
  Least leastFrom(std::size_t pass) const;

 private:
  struct Bucket {
    Fingerprint expected;
    Fingerprint found;
    std::uint32_t expectedCount = 0;
    std::uint32_t foundCount = 0;
    std::uint32_t pass = 0;

    bool differs() const { return expected != found || expectedCount != foundCount; }
  };

  std::size_t placeOf(std::size_t file, const Fingerprint& name) const {
    return file * bucketsOfFile_ + name.high % bucketsOfFile_;
  }

  std::size_t bucketsOfFile_;
  std::vector<Bucket> buckets_;
};

#endif
