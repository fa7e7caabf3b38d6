#include "admin/PlannedSplit.h"

#include <algorithm>

#include "admin/exitStatus.h"
#include "platform/dirclient/NormalDn.h"

namespace {

/// For one base DN; a counter takes some hundred bytes. Among hundreds of base DNs each has fewer.
std::size_t countersOf(std::size_t baseDns) {
  constexpr std::size_t most = 10000;
  constexpr std::size_t inAll = 20 * most;
  constexpr std::size_t least = 100;
  return std::max(least, std::min(most, inAll / baseDns));
}

void add(const Tally& tally, Tally& sum) {
  sum.entries += tally.entries;
  sum.bytes += tally.bytes;
}

/// Of a DN below the base DN, the part that decides on its server: the RDN directly below that. A
/// DN that is below it by the rule for RDNs of several values alone counts as a whole.
const char* decidingPart(const dirclient::NormalDn& dn, const dirclient::NormalDn& baseDn,
                         std::size_t& size) {
  const std::string& text = dn.text();
  const std::size_t above = baseDn.rdnCount();
  size = text.size();
  if (dn.rdnCount() <= above) {
    return text.data();
  }
  const std::size_t baseBegin = dn.rdnBegin(dn.rdnCount() - above);
  if (text.compare(baseBegin, std::string::npos, baseDn.text()) != 0) {
    return text.data();
  }
  const std::size_t begin = dn.rdnBegin(dn.rdnCount() - above - 1);
  size = baseBegin - 1 - begin;
  return text.data() + begin;
}

}  // namespace

Tally PlannedSplit::BaseDn::total() const {
  Tally sum = toAll;
  for (const Tally& tally : ofServer) {
    add(tally, sum);
  }
  return sum;
}

PlannedSplit::PlannedSplit(const Routing& routing, InputRemarks& remarks, int otherServers)
    : routing_(routing), remarks_(remarks), otherServers_(static_cast<std::size_t>(otherServers)) {
  const std::size_t counters = countersOf(routing.baseDns().size());
  for (const Routing::BaseDn& baseDn : routing.baseDns()) {
    if (baseDn.isCrypto) {
      crypto_ = baseDns_.size();
    }
    baseDns_.emplace_back(baseDn.servers.size(), counters);
    baseDns_.back().moves.resize(baseDn.servers.size() * otherServers_);
  }
}

void PlannedSplit::run(const std::string& inputFile) {
  const End end =
      DiscardingObserver::run(inputFile, routing_.actors(), routing_.defaultOutputFile());
  switch (end.stop) {
    case Stop::none:
      break;
    case Stop::emptyInput:
      remarks_.add(InputRemarks::emptyInput, end.line, "");
      break;
    case Stop::unwritableLine:
      remarks_.add(InputRemarks::unwritableLine, end.line, "");
      break;
    case Stop::noFile:
      throw SystemError(inputFile + ": " + end.why);
  }
  finishRecord();
}

Tally PlannedSplit::ofServer(std::size_t baseDn, std::size_t server) const {
  Tally sum = baseDns_[baseDn].ofServer[server];
  add(baseDns_[baseDn].toAll, sum);
  add(crypto(), sum);
  return sum;
}

const Tally& PlannedSplit::crypto() const {
  return baseDns_[crypto_].toAll;
}

Tally PlannedSplit::total() const {
  Tally sum = parent_;
  for (const BaseDn& baseDn : baseDns_) {
    add(baseDn.total(), sum);
  }
  return sum;
}

std::map<std::string, Tally> PlannedSplit::byFile() const {
  std::map<std::string, Tally> files;
  add(parent_, files[routing_.defaultOutputFile()]);
  for (std::size_t i = 0; i < baseDns_.size(); ++i) {
    const Routing::BaseDn& baseDn = routing_.baseDns()[i];
    for (std::size_t server = 0; server < baseDn.servers.size(); ++server) {
      Tally& file = files[baseDn.servers[server].file];
      add(baseDns_[i].ofServer[server], file);
      add(baseDns_[i].toAll, file);
    }
    if (baseDn.isCrypto) {
      // Once, however many servers have the file.
      for (const std::string& name : baseDn.actor->getOutputFiles()) {
        add(crypto(), files[name]);
      }
    }
  }
  return files;
}

const Tally& PlannedSplit::moved(std::size_t baseDn, std::size_t from, std::size_t to) const {
  return baseDns_[baseDn].moves[from * otherServers_ + to];
}

void PlannedSplit::startsRecord(const ldifsplit::SplitRecord& record) {
  finishRecord();
  if (record.baseDn == Routing::noBaseDn) {
    tally_ = &parent_;
  } else {
    const std::size_t server = routing_.serverOf(record.normalDn, record.baseDn, record.files);
    if (server == Routing::allServers) {
      tally_ = &baseDns_[record.baseDn].toAll;
    } else {
      startsRecordOfServer(record, server);
    }
  }
  ++tally_->entries;
}

void PlannedSplit::startsRecordOfServer(const ldifsplit::SplitRecord& record, std::size_t server) {
  BaseDn& counted = baseDns_[record.baseDn];
  const dirclient::NormalDn& baseDn = routing_.baseDns()[record.baseDn].normal;
  tally_ = &counted.ofServer[server];
  subtree_ = &counted.largestSubtree;
  std::size_t size = 0;
  const char* const part = decidingPart(record.normalDn, baseDn, size);
  subtree_->addEntry(part, size);
  if (otherServers_ > 0) {
    const auto other = static_cast<std::size_t>(
        dirclient::serverOf(record.normalDn, baseDn, static_cast<int>(otherServers_)) - 1);
    if (other != server) {
      move_ = &counted.moves[server * otherServers_ + other];
      ++move_->entries;
    }
  }
}

/// The bytes of a record are known when the next one begins.
void PlannedSplit::finishRecord() {
  if (tally_ != nullptr) {
    tally_->bytes += bytes_;
  }
  if (move_ != nullptr) {
    move_->bytes += bytes_;
  }
  if (subtree_ != nullptr) {
    subtree_->addBytes(bytes_);
  }
  tally_ = nullptr;
  move_ = nullptr;
  subtree_ = nullptr;
  bytes_ = 0;
}

void PlannedSplit::wrote(const char* /*bytes*/, std::size_t size) {
  bytes_ += size;
}

void PlannedSplit::passesOver(const ldifsplit::UnusableLine& line) {
  remarks_.add(line);
}

void PlannedSplit::readsInPieces(int line) {
  remarks_.add(InputRemarks::inPieces, line, "");
}
