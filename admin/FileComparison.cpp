#include "admin/FileComparison.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

const std::string fileHeader = "version: 1\n\n";
const std::string entryStart = "\ndn:";
constexpr std::size_t longestName = 1024;

/// So many bytes of an entry stay to be looked at when the others are read over.
constexpr std::size_t keptTail = 16;

}  // namespace

constexpr std::size_t FileComparison::Queue::none;

void FileComparison::Queue::push(Item item) {
  places_.emplace(item.print.whole, popped_ + items_.size());
  items_.push_back(std::move(item));
}

void FileComparison::Queue::pop() {
  const auto place = places_.find(items_.front().print.whole);
  if (place != places_.end() && place->second == popped_) {
    places_.erase(place);
  }
  items_.pop_front();
  ++popped_;
}

std::size_t FileComparison::Queue::find(const Fingerprint& whole) const {
  const auto place = places_.find(whole);
  return place != places_.end() ? static_cast<std::size_t>(place->second - popped_) : none;
}

FileComparison::FileComparison(ComparisonContext& context, std::size_t number,
                               const std::string& name, bool headerAlone)
    : context_(context),
      number_(number),
      name_(name),
      headerAlone_(headerAlone),
      file_(context.capacity),
      printer_(context.key) {
  exists_ = file_.open(name);
}

void FileComparison::report(Difference::Kind kind, std::int64_t line,
                            const std::string& expected) const {
  context_.differences.add({kind, name_, line, "", expected, 0});
}

/// Whether so many bytes can be looked at.
bool FileComparison::needs(std::size_t size) {
  while (file_.size() < size) {
    if (!file_.fill()) {
      return false;
    }
  }
  return true;
}

/// Whether the place that is reached is where an entry begins, or the end of the file.
bool FileComparison::isAtEntry() {
  if (!needs(entryStart.size())) {
    return !needs(1);
  }
  return std::memcmp(file_.data(), entryStart.data(), entryStart.size()) == 0;
}

/// Reads the header, or over what stands in its place.
void FileComparison::takeHeader() {
  if (!exists_) {
    report(Difference::missingFile, 0, "expected a file with the entries that belong there");
    context_.unsettled.noteMissingFile(number_);
    mode_ = Mode::behindTheEnd;
    return;
  }
  if (!needs(1)) {
    mode_ = Mode::behindTheEnd;  // it is truncated
    return;
  }
  const bool isWhole = needs(fileHeader.size());
  if (isWhole && std::memcmp(file_.data(), fileHeader.data(), fileHeader.size()) == 0) {
    file_.skip(fileHeader.size());
    return;
  }
  report(Difference::header, 1, "expected \"version: 1\" and an empty line");
  if (needs(3) && std::memcmp(file_.data(), "dn:", 3) == 0) {
    skipExpected_ = 1;
    return;
  }
  for (;;) {
    if (isAtEntry()) {
      return;
    }
    const char* const next = static_cast<const char*>(
        file_.size() > 1 ? std::memchr(file_.data() + 1, '\n', file_.size() - 1) : nullptr);
    file_.skip(next != nullptr ? static_cast<std::size_t>(next - file_.data()) : file_.size());
  }
}

void FileComparison::begins(std::int64_t inputLine, const char* dn, std::size_t dnSize) {
  if (entries_++ == 0) {
    takeHeader();
  }
  inputLine_ = inputLine;
  dn_.assign(dn, std::min(dnSize, longestName));
  matched_ = 0;
  isSpilled_ = false;
  spilled_ = 0;
  isCut_ = false;
  if (mode_ != Mode::sideBySide) {
    printer_ = EntryPrinter(context_.key);
  }
}

void FileComparison::takes(const char* bytes, std::size_t size) {
  bytes_ += size;
  if (mode_ != Mode::sideBySide) {
    printer_.add(bytes, size);
    return;
  }
  const std::size_t skipped = std::min(skipExpected_, size);
  skipExpected_ -= skipped;
  bytes += skipped;
  size -= skipped;
  while (size > 0) {
    if (file_.size() == matched_) {
      if (matched_ > context_.capacity / 2) {
        spill();
      }
      if (!file_.fill()) {
        diverge(bytes, size);
        return;
      }
    }
    const std::size_t some = std::min(size, file_.size() - matched_);
    if (std::memcmp(file_.data() + matched_, bytes, some) != 0) {
      const std::size_t equal = static_cast<std::size_t>(
          std::mismatch(bytes, bytes + some, file_.data() + matched_).first - bytes);
      matched_ += equal;
      diverge(bytes + equal, size - equal);
      return;
    }
    matched_ += some;
    bytes += some;
    size -= some;
  }
}

/// Reads over most of what was found of a large entry, and keeps its fingerprint.
void FileComparison::spill() {
  if (!isSpilled_) {
    isSpilled_ = true;
    printer_ = EntryPrinter(context_.key);
    spilledLine_ = file_.line();
  }
  const std::size_t over = matched_ - keptTail;
  printer_.add(file_.data(), over);
  file_.skip(over);
  spilled_ += over;
  matched_ -= over;
}

/// The file is another behind what was found of the entry; `bytes` were expected next.
void FileComparison::diverge(const char* bytes, std::size_t size) {
  if (!isSpilled_) {
    printer_ = EntryPrinter(context_.key);
    spilledLine_ = file_.line();
  }
  EntryPrinter ofFile = printer_;  // as far as the two are the same and read over
  printer_.add(file_.data(), matched_);
  printer_.add(bytes, size);
  gap_ = context_.unsettled.newGap();
  const bool atEnd = file_.size() == matched_ && !file_.fill();
  if (atEnd) {
    isCut_ = matched_ + spilled_ > 0;
    file_.skip(matched_);
    mode_ = Mode::behindTheEnd;
    return;
  }
  mode_ = Mode::lookingAhead;
  Queue::Item item;
  item.line = spilledLine_;
  item.differsAt =
      matched_ + spilled_ > 0 ? file_.line() + countLineFeeds(file_.data(), matched_) : 0;
  if (readItem(ofFile, matched_, item)) {
    found_.push(std::move(item));
  }
}

/// Reads the file up to the next entry, or its end. The printer has what was read over of the entry
/// at hand before; so many of the bytes that follow are no start of the next one. False at the end.
bool FileComparison::readItem(EntryPrinter printer, std::size_t matched, Queue::Item& item) {
  if (!needs(1)) {
    return false;
  }
  std::size_t from = matched >= entryStart.size() ? matched - (entryStart.size() - 1) : 1;
  for (;;) {
    const char* const data = file_.data();
    const std::size_t size = file_.size();
    const void* const next =
        size > from ? ::memmem(data + from, size - from, entryStart.data(), entryStart.size())
                    : nullptr;
    if (next != nullptr) {
      const auto rest = static_cast<std::size_t>(static_cast<const char*>(next) - data);
      printer.add(data, rest);
      file_.skip(rest);
      break;
    }
    // The last bytes may be the first of the next entry.
    const std::size_t over = size > entryStart.size() ? size - (entryStart.size() - 1) : 0;
    if (over > 0) {
      printer.add(data, over);
      file_.skip(over);
      from = 0;
    }
    if (!file_.fill()) {
      printer.add(file_.data(), file_.size());
      file_.skip(file_.size());
      break;
    }
  }
  const std::int64_t differsAt = item.differsAt;
  item.print = printer.print();
  item.line += static_cast<std::int64_t>(printer.emptyLines());
  item.differsAt = std::max(differsAt, differsAt > 0 ? item.line : 0);
  item.print.line = item.line;
  item.before = previousDn_;
  if (item.print.hasDn()) {
    previousDn_ = item.print.dn();
  }
  return true;
}

/// The next entry of the file.
bool FileComparison::readFound() {
  Queue::Item item;
  item.line = file_.line();
  if (!readItem(EntryPrinter(context_.key), 0, item)) {
    return false;
  }
  found_.push(std::move(item));
  return true;
}

void FileComparison::ends() {
  if (mode_ == Mode::sideBySide) {
    file_.skip(matched_);
    previousDn_ = dn_;
    return;
  }
  if (mode_ == Mode::behindTheEnd && !context_.unsettled.hasRoom()) {
    context_.unsettled.countAtEnd(number_);
    return;
  }
  Queue::Item item;
  item.print = printer_.print();
  item.print.line = inputLine_;
  item.line = found_.empty() ? file_.line() : found_.front().line;
  if (mode_ == Mode::behindTheEnd) {
    context_.unsettled.add(Unsettled::Expected{number_, item.print, item.line, gap_, true, isCut_});
    return;
  }
  expected_.push(std::move(item));
  lookAhead();
}

void FileComparison::dropExpected(std::size_t count, bool atEnd) {
  for (; count > 0; --count) {
    Queue::Item& item = expected_.front();
    const std::int64_t line = found_.empty() ? file_.line() : found_.front().line;
    context_.unsettled.add(Unsettled::Expected{number_, item.print, line, gap_, atEnd, false});
    expected_.pop();
  }
}

void FileComparison::dropFound(std::size_t count) {
  for (; count > 0; --count) {
    Queue::Item& item = found_.front();
    context_.unsettled.add(
        Unsettled::Found{number_, item.print, item.differsAt, gap_, std::move(item.before)});
    found_.pop();
  }
}

/// Lets go of what both queues begin with alike.
void FileComparison::matchHeads() {
  while (!expected_.empty() && !found_.empty() &&
         expected_.front().print.whole == found_.front().print.whole) {
    expected_.pop();
    found_.pop();
    patience_ = 0;
    gap_ = context_.unsettled.newGap();
  }
}

/// An entry more is expected: looks for it in the file, and for what follows there among those that
/// are expected.
void FileComparison::lookAhead() {
  const std::size_t there = found_.find(expected_.back().print.whole);
  if (there != Queue::none) {
    dropExpected(expected_.size() - 1);
    dropFound(there);
    matchHeads();
  }
  while (!expected_.empty() && found_.size() < expected_.size() && readFound()) {
    const std::size_t wanted = expected_.find(found_.back().print.whole);
    if (wanted != Queue::none) {
      dropExpected(wanted);
      dropFound(found_.size() - 1);
      matchHeads();
    }
  }
  makeRoom();
  if (!expected_.empty()) {
    endHere();
  } else if (found_.empty()) {
    mode_ = Mode::sideBySide;
  }
}

/// Gives up the look for the first of one side where there are too many.
void FileComparison::makeRoom() {
  constexpr std::size_t patience = 8;
  while (expected_.size() > context_.window) {
    // What belongs in the file may be expected later; what does not never is.
    const bool mayCome = !found_.empty() && patience_ < patience * context_.window &&
                         context_.routing.belongsIn(found_.front().print.dn(), name_);
    if (found_.empty() || mayCome) {
      ++patience_;
      dropExpected(1);
      continue;
    }
    dropFound(1);
    if (readFound()) {
      const std::size_t wanted = expected_.find(found_.back().print.whole);
      if (wanted != Queue::none) {
        dropExpected(wanted);
        dropFound(found_.size() - 1);
        matchHeads();
      }
    }
  }
}

void FileComparison::finishEmpty() {
  if (!exists_) {
    report(Difference::missingFile, 0, "expected an empty file");
    return;
  }
  if (!needs(1)) {
    return;
  }
  const bool hasHeader = needs(fileHeader.size()) &&
                         std::memcmp(file_.data(), fileHeader.data(), fileHeader.size()) == 0;
  if (!hasHeader) {
    takeHeader();
  } else {
    file_.skip(fileHeader.size());
    if (!headerAlone_ && !needs(1)) {
      report(Difference::header, 1, "expected an empty file: no entry goes there");
    }
  }
}

void FileComparison::finish() {
  if (entries_ == 0) {
    finishEmpty();
  }
  while (!expected_.empty() && readFound()) {
    const std::size_t wanted = expected_.find(found_.back().print.whole);
    if (wanted != Queue::none) {
      dropExpected(wanted);
      dropFound(found_.size() - 1);
      matchHeads();
    } else if (found_.size() > context_.window) {
      dropFound(1);
    }
  }
  endHere();
  dropFound(found_.size());
  dropExpected(expected_.size());
  while (exists_ && readFound()) {
    dropFound(1);
  }
}

/// Where the file has ended, and nothing of it waits, nothing that is expected will be found.
void FileComparison::endHere() {
  if (found_.empty() && !needs(1)) {
    dropExpected(expected_.size(), true);
    mode_ = Mode::behindTheEnd;
  }
}
