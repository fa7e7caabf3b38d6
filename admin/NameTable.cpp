#include "admin/NameTable.h"

#include <algorithm>

namespace {

constexpr std::size_t allBuckets = 131072;
constexpr std::size_t leastBuckets = 64;

}  // namespace

NameTable::NameTable(std::size_t files)
    : bucketsOfFile_(std::max(leastBuckets, allBuckets / files)),
      buckets_(files * bucketsOfFile_) {}

void NameTable::add(std::size_t file, const Fingerprint& name, Side side) {
  Bucket& bucket = buckets_[placeOf(file, name)];
  if (side == Side::expected) {
    bucket.expected += name;
    ++bucket.expectedCount;
  } else {
    bucket.found += name;
    ++bucket.foundCount;
  }
}

bool NameTable::isEqual() const {
  return std::none_of(buckets_.begin(), buckets_.end(),
                      [](const Bucket& bucket) { return bucket.differs(); });
}

std::size_t NameTable::dividePasses(std::uint64_t most) {
  std::uint32_t passes = 0;
  std::uint64_t names = most;  // of the last pass
  for (Bucket& bucket : buckets_) {
    if (!bucket.differs()) {
      continue;
    }
    const std::uint64_t ofBucket = std::uint64_t{bucket.expectedCount} + bucket.foundCount;
    if (names + ofBucket > most) {
      ++passes;
      names = 0;
    }
    names += ofBucket;
    bucket.pass = passes - 1;
  }
  return passes;
}

bool NameTable::isOfPass(std::size_t file, const Fingerprint& name, std::size_t pass) const {
  const Bucket& bucket = buckets_[placeOf(file, name)];
  return bucket.differs() && bucket.pass == pass;
}

NameTable::Least NameTable::leastFrom(std::size_t pass) const {
  Least least;
  for (const Bucket& bucket : buckets_) {
    if (!bucket.differs() || bucket.pass < pass) {
      continue;
    }
    if (bucket.expectedCount > bucket.foundCount) {
      least.missing += bucket.expectedCount - bucket.foundCount;
    } else if (bucket.expectedCount < bucket.foundCount) {
      least.foreign += bucket.foundCount - bucket.expectedCount;
    } else {
      ++least.missing;
      ++least.foreign;
    }
  }
  return least;
}
