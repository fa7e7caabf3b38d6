#include "config/nearestLegalKey.h"

#include <algorithm>
#include <vector>

#include "config/configKeys.h"

namespace {

using Keys = std::vector<std::string>;

Keys globalKeys() {
  return {actionKey, inputFileKey, logFileKey, outputFileKey,
          splitKey,  baseDirKey,   fileDirKey, baseDNKey};
}

Keys sectionKeys() {
  return {baseDNKey, URLKey, fileKey};
}

bool contains(const Keys& keys, const std::string& key) {
  return std::find(keys.begin(), keys.end(), key) != keys.end();
}

/// How many insertions, removals, replacements of a letter and exchanges of two neighbours make one
/// word of the other.
std::size_t countOfMistakes(const std::string& a, const std::string& b) {
  using Row = std::vector<std::size_t>;
  std::vector<Row> counts(a.size() + 1, Row(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) {
    for (std::size_t j = 0; j <= b.size(); ++j) {
      if (i == 0 || j == 0) {
        counts[i][j] = i + j;
        continue;
      }
      const std::size_t replaced = counts[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      counts[i][j] = std::min({counts[i - 1][j] + 1, counts[i][j - 1] + 1, replaced});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        counts[i][j] = std::min(counts[i][j], counts[i - 2][j - 2] + 1);
      }
    }
  }
  return counts[a.size()][b.size()];
}

bool beginsOrEndsWith(const std::string& whole, const std::string& part) {
  return part.size() >= 2 && part.size() <= whole.size() &&
         (whole.compare(0, part.size(), part) == 0 ||
          whole.compare(whole.size() - part.size(), part.size(), part) == 0);
}

/// More mistakes than this make another word of a word of that length.
std::size_t mostMistakes(std::size_t length) {
  constexpr std::size_t lengthOfTwo = 6;
  return std::max<std::size_t>(length / 4, length >= lengthOfTwo ? 2 : 1);
}

}  // namespace

std::string nearestLegalKey(const std::string& key, bool inSection) {
  const Keys global = globalKeys();
  const Keys section = sectionKeys();
  const Keys& legal = inSection ? section : global;
  std::size_t longest = 0;
  for (const std::string& candidate : legal) {
    longest = std::max(longest, candidate.size());
  }
  // What is longer than two keys is no key; the work for it would know no bound.
  if (contains(global, key) || contains(section, key) || key.size() > 2 * longest) {
    return "";
  }
  std::string nearest;
  std::size_t fewest = 0;
  bool nearestHasPart = false;
  for (const std::string& candidate : legal) {
    const std::size_t mistakes = countOfMistakes(key, candidate);
    const bool hasPart = beginsOrEndsWith(candidate, key);
    if (!hasPart && mistakes > mostMistakes(std::max(key.size(), candidate.size()))) {
      continue;
    }
    const bool isNearer = hasPart != nearestHasPart ? hasPart : mistakes < fewest;
    if (nearest.empty() || isNearer) {
      nearest = candidate;
      fewest = mistakes;
      nearestHasPart = hasPart;
    }
  }
  return nearest;
}
