// Fingerprints of texts that nobody can aim at.
#ifndef ADMIN_KEYEDHASH_H
#define ADMIN_KEYEDHASH_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>

/// A fingerprint of 128 bits; also a sum of such, modulo 2^128, that does not depend on the order.
struct Fingerprint {
  std::uint64_t low = 0;
  std::uint64_t high = 0;

  bool operator==(const Fingerprint& other) const { return low == other.low && high == other.high; }
  bool operator!=(const Fingerprint& other) const { return !(*this == other); }
  bool operator<(const Fingerprint& other) const {
    return high != other.high ? high < other.high : low < other.low;
  }
  Fingerprint& operator+=(const Fingerprint& other);
};

template <>
struct std::hash<Fingerprint> {
  std::size_t operator()(const Fingerprint& print) const noexcept { return print.low; }
};

/// SipHash-2-4 with a result of 128 bits, of a text that comes in pieces.
class KeyedHash {
 public:
  using Key = std::array<std::uint64_t, 2>;

  /// A key that no other run has.
  static Key newKey();

  explicit KeyedHash(const Key& key);

  void add(const char* bytes, std::size_t size);

  /// Of all that was added so far; more may follow.
  Fingerprint print() const;

  static Fingerprint of(const Key& key, const char* bytes, std::size_t size);

 private:
  void take(std::uint64_t word);
  void round();

  std::uint64_t v0_, v1_, v2_, v3_;
  std::uint64_t rest_ = 0;  // the bytes that are no whole word yet, the first lowest
  std::uint64_t size_ = 0;  // of all that was added
};

#endif
