#include "admin/KeyedHash.h"

#include <cstring>
#include <random>

namespace {

std::uint64_t rotated(std::uint64_t word, unsigned int by) {
  return (word << by) | (word >> (64U - by));
}

/// Eight bytes, the first lowest.
std::uint64_t wordAt(const char* bytes) {
  std::uint64_t word = 0;
  for (unsigned int i = 8; i-- > 0;) {
    word = (word << 8U) | static_cast<std::uint8_t>(bytes[i]);
  }
  return word;
}

}  // namespace

Fingerprint& Fingerprint::operator+=(const Fingerprint& other) {
  low += other.low;
  high += other.high + (low < other.low ? 1 : 0);
  return *this;
}

KeyedHash::Key KeyedHash::newKey() {
  std::random_device device;
  Key key{};
  for (std::uint64_t& word : key) {
    word = (std::uint64_t{device()} << 32U) | device();
  }
  return key;
}

KeyedHash::KeyedHash(const Key& key)
    : v0_(key[0] ^ 0x736f6d6570736575U),
      v1_(key[1] ^ 0x646f72616e646f6dU ^ 0xeeU),
      v2_(key[0] ^ 0x6c7967656e657261U),
      v3_(key[1] ^ 0x7465646279746573U) {}

void KeyedHash::round() {
  v0_ += v1_;
  v1_ = rotated(v1_, 13) ^ v0_;
  v0_ = rotated(v0_, 32);
  v2_ += v3_;
  v3_ = rotated(v3_, 16) ^ v2_;
  v0_ += v3_;
  v3_ = rotated(v3_, 21) ^ v0_;
  v2_ += v1_;
  v1_ = rotated(v1_, 17) ^ v2_;
  v2_ = rotated(v2_, 32);
}

void KeyedHash::take(std::uint64_t word) {
  v3_ ^= word;
  round();
  round();
  v0_ ^= word;
}

void KeyedHash::add(const char* bytes, std::size_t size) {
  auto have = static_cast<unsigned int>(size_ % 8);
  size_ += size;
  while (have > 0 && size > 0) {
    rest_ |= std::uint64_t{static_cast<std::uint8_t>(*bytes)} << (8 * have);
    ++bytes;
    --size;
    if (++have == 8) {
      take(rest_);
      rest_ = 0;
      have = 0;
    }
  }
  for (; size >= 8; size -= 8, bytes += 8) {
    take(wordAt(bytes));
  }
  for (; size > 0; --size, ++bytes, ++have) {
    rest_ |= std::uint64_t{static_cast<std::uint8_t>(*bytes)} << (8 * have);
  }
}

Fingerprint KeyedHash::print() const {
  constexpr int lastRounds = 4;
  KeyedHash end(*this);
  end.take(rest_ | (size_ << 56U));
  end.v2_ ^= 0xeeU;
  for (int i = 0; i < lastRounds; ++i) {
    end.round();
  }
  Fingerprint print;
  print.low = end.v0_ ^ end.v1_ ^ end.v2_ ^ end.v3_;
  end.v1_ ^= 0xddU;
  for (int i = 0; i < lastRounds; ++i) {
    end.round();
  }
  print.high = end.v0_ ^ end.v1_ ^ end.v2_ ^ end.v3_;
  return print;
}

Fingerprint KeyedHash::of(const Key& key, const char* bytes, std::size_t size) {
  KeyedHash hash(key);
  hash.add(bytes, size);
  return hash.print();
}
