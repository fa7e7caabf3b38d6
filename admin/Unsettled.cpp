#include "admin/Unsettled.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <tuple>
#include <unordered_map>
#include <utility>

constexpr std::size_t Unsettled::most;

std::uint64_t RecentNames::hash(const char* name, std::size_t size) {
  constexpr std::uint64_t factor = 0x9E3779B97F4A7C15U;
  std::uint64_t hash = size * factor;
  std::uint64_t word = 0;
  for (; size >= sizeof word; size -= sizeof word, name += sizeof word) {
    std::memcpy(&word, name, sizeof word);
    hash = (hash ^ word) * factor;
    hash ^= hash >> 29U;
  }
  word = 0;
  std::memcpy(&word, name, size);
  hash = (hash ^ word) * factor;
  // Each bit of the result is to depend on each of the name.
  hash = (hash ^ (hash >> 32U)) * factor;
  hash ^= hash >> 29U;
  return hash != 0 ? hash : 1;
}

void RecentNames::add(std::uint64_t hash) {
  std::uint64_t* const set = &slots_[hash % sets * ways];
  for (std::size_t i = 0; i < ways; ++i) {
    if (set[i] == 0 || set[i] == hash) {
      set[i] = hash;
      return;
    }
  }
  set[next_++ % ways] = hash;
}

bool RecentNames::has(std::uint64_t hash) const {
  const std::uint64_t* const set = &slots_[hash % sets * ways];
  return std::find(set, set + ways, hash) != set + ways;
}

void Unsettled::add(Expected entry) {
  if (expected_.size() >= most) {
    if (entry.isAtEnd) {
      countAtEnd(entry.file);
    } else {
      differences_.count(Difference::missing, 1);
    }
    return;
  }
  expected_.push_back(std::move(entry));
}

void Unsettled::add(Found entry) {
  if (found_.size() >= most) {
    differences_.count(Difference::foreign, 1);
    return;
  }
  const std::string dn = entry.print.dn();
  foundIsKnown_.push_back(names_.has(RecentNames::hash(dn.data(), dn.size())));
  found_.push_back(std::move(entry));
}

void Unsettled::settle() {
  expectedIsSettled_.assign(expected_.size(), false);
  foundIsSettled_.assign(found_.size(), false);
  pairWhole(true);
  pairNames();
  pairBodies();
  pairBeginnings();
  pairWhole(false);
  settleFound();
  settleExpected();
  std::stable_sort(said_.begin(), said_.end(), [](const Said& a, const Said& b) {
    return std::tie(a.file, a.difference.line) < std::tie(b.file, b.difference.line);
  });
  for (Said& said : said_) {
    differences_.add(std::move(said.difference));
  }
}

/// The same bytes somewhere else: in the same file, or in another one.
void Unsettled::pairWhole(bool inSameFile) {
  std::unordered_multimap<Fingerprint, std::size_t> found;
  for (std::size_t i = found_.size(); i-- > 0;) {
    if (!foundIsSettled_[i]) {
      found.emplace(found_[i].print.whole, i);
    }
  }
  for (std::size_t i = 0; i < expected_.size(); ++i) {
    if (expectedIsSettled_[i]) {
      continue;
    }
    const auto same = found.equal_range(expected_[i].print.whole);
    auto best = same.second;
    for (auto each = same.first; each != same.second; ++each) {
      const bool isSameFile = found_[each->second].file == expected_[i].file;
      if (isSameFile == inSameFile && (best == same.second || each->second < best->second)) {
        best = each;
      }
    }
    if (best != same.second) {
      take(i, best->second, inSameFile ? Difference::outOfOrder : Difference::misplaced);
      found.erase(best);
    }
  }
}

/// The same name in the same file, and other bytes; those of one gap first.
void Unsettled::pairNames() {
  using Place = std::pair<std::size_t, Fingerprint>;
  std::map<Place, std::vector<std::size_t>> found;
  for (std::size_t i = 0; i < found_.size(); ++i) {
    if (!foundIsSettled_[i] && found_[i].print.hasDn()) {
      found[{found_[i].file, found_[i].print.name}].push_back(i);
    }
  }
  for (std::size_t i = 0; i < expected_.size(); ++i) {
    const auto same = found.find({expected_[i].file, expected_[i].print.name});
    if (expectedIsSettled_[i] || same == found.end() || same->second.empty()) {
      continue;
    }
    std::vector<std::size_t>& candidates = same->second;
    auto best = std::find_if(candidates.begin(), candidates.end(), [&](std::size_t each) {
      return found_[each].gap == expected_[i].gap;
    });
    best = best != candidates.end() ? best : candidates.begin();
    take(i, *best, Difference::changed);
    candidates.erase(best);
  }
}

/// The same lines under another name or under none, at the same place.
void Unsettled::pairBodies() {
  using Place = std::pair<std::uint64_t, Fingerprint>;
  std::map<Place, std::vector<std::size_t>> found;
  for (std::size_t i = found_.size(); i-- > 0;) {
    if (!foundIsSettled_[i] && found_[i].print.hasBody) {
      found[{found_[i].gap, found_[i].print.body}].push_back(i);
    }
  }
  for (std::size_t i = 0; i < expected_.size(); ++i) {
    const auto same = found.find({expected_[i].gap, expected_[i].print.body});
    if (!expectedIsSettled_[i] && expected_[i].print.hasBody && same != found.end() &&
        !same->second.empty()) {
      take(i, same->second.back(), Difference::changed);
      same->second.pop_back();
    }
  }
}

/// A first line of which more or less is left, at the same place.
void Unsettled::pairBeginnings() {
  std::map<std::uint64_t, std::vector<std::size_t>> found;  // by gap
  for (std::size_t i = 0; i < found_.size(); ++i) {
    if (!foundIsSettled_[i] && found_[i].print.hasDn()) {
      found[found_[i].gap].push_back(i);
    }
  }
  for (std::size_t i = 0; i < expected_.size(); ++i) {
    const auto there = found.find(expected_[i].gap);
    if (expectedIsSettled_[i] || there == found.end()) {
      continue;
    }
    // Of a large gap only the first are looked at.
    constexpr std::size_t mostOfGap = 64;
    const std::string& line = expected_[i].print.firstLine;
    for (std::size_t k = 0; k < std::min(mostOfGap, there->second.size()); ++k) {
      const std::size_t each = there->second[k];
      const std::string& other = found_[each].print.firstLine;
      const std::size_t size = std::min(line.size(), other.size());
      if (!foundIsSettled_[each] && line.compare(0, size, other, 0, size) == 0) {
        take(i, each, Difference::changed);
        break;
      }
    }
  }
}

void Unsettled::take(std::size_t expected, std::size_t found, Difference::Kind kind) {
  expectedIsSettled_[expected] = true;
  foundIsSettled_[found] = true;
  const Expected& missed = expected_[expected];
  const Found& there = found_[found];
  const std::int64_t inputLine = missed.print.line;
  Difference difference{kind, files_[there.file], there.print.line, missed.print.dn(),
                        "",   inputLine};
  switch (kind) {
    case Difference::changed:
      difference.line = there.differsAt > 0 ? there.differsAt : there.print.line;
      difference.expected = "expected byte for byte the entry";
      break;
    case Difference::outOfOrder:
      difference.expected =
          "expected at line " + std::to_string(missed.line) + " of this file, the entry";
      break;
    default:
      difference.expected = "expected in " + files_[missed.file] + ":" +
                            std::to_string(missed.line) + " and not here, the entry";
      break;
  }
  say(there.file, std::move(difference));
}

std::string Unsettled::filesOf(const std::string& dn) {
  std::string text;
  for (const std::string& file : routing_.filesOf(dn)) {
    text += (text.empty() ? "" : " ") + file;
  }
  return text;
}

void Unsettled::settleFound() {
  for (std::size_t i = 0; i < found_.size(); ++i) {
    if (foundIsSettled_[i]) {
      continue;
    }
    const Found& there = found_[i];
    const std::string& file = files_[there.file];
    const std::int64_t line = there.differsAt > 0 ? there.differsAt : there.print.line;
    if (!there.print.hasDn()) {
      say(there.file, there.before.empty()
                          ? Difference{Difference::header, file, line, "",
                                       "expected nothing between the header and the first entry", 0}
                          : Difference{Difference::changed, file, line, there.before,
                                       "expected no such line behind this entry", 0});
      continue;
    }
    const std::string dn = there.print.dn();
    const bool isKnown = foundIsKnown_[i] || names_.has(RecentNames::hash(dn.data(), dn.size()));
    const std::string places = filesOf(dn);
    if (routing_.belongsIn(dn, file)) {
      say(there.file, isKnown ? Difference{Difference::doubled, file, there.print.line, dn,
                                           "expected in this file once", 0}
                              : Difference{Difference::foreign, file, there.print.line, dn,
                                           "expected no such entry here", 0});
    } else {
      say(there.file, {Difference::foreign, file, there.print.line, dn,
                       places.empty() ? "expected no such entry: this is no usable DN"
                                      : "expected no such entry here: it belongs in " + places,
                       0});
    }
  }
}

void Unsettled::settleExpected() {
  std::map<std::size_t, std::vector<std::size_t>> atEnd;  // by file
  for (std::size_t i = 0; i < expected_.size(); ++i) {
    const Expected& missed = expected_[i];
    if (expectedIsSettled_[i]) {
      continue;
    }
    if (missed.isAtEnd) {
      atEnd[missed.file].push_back(i);
      continue;
    }
    say(missed.file, {Difference::missing, files_[missed.file], missed.line, missed.print.dn(),
                      "expected here the entry", missed.print.line});
  }
  for (const auto& end : atEnd) {
    const Expected& first = expected_[end.second.front()];
    const std::uint64_t kept = end.second.size() - (first.isCut ? 1 : 0);
    const std::uint64_t missing = kept + atEndUnseen_[first.file];
    if (missing == 1 && !first.isCut && missingFiles_.count(first.file) == 0) {
      say(first.file, {Difference::missing, files_[first.file], first.line, first.print.dn(),
                       "expected here at the end the entry", first.print.line});
      continue;
    }
    differences_.count(Difference::missing, kept);
    if (missingFiles_.count(first.file) > 0) {
      continue;
    }
    const std::string number = std::to_string(missing);
    say(first.file, {Difference::truncated, files_[first.file], first.line, first.print.dn(),
                     first.isCut ? "the file ends within this entry and " + number +
                                       " more are missing, expected the entry"
                                 : "the file ends before this and " + number +
                                       " entries are missing, expected the entry",
                     first.print.line});
  }
}

void Unsettled::say(std::size_t file, Difference difference) {
  said_.push_back({file, std::move(difference)});
}
