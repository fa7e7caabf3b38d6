// A split that writes nothing and counts.
#ifndef ADMIN_PLANNEDSPLIT_H
#define ADMIN_PLANNEDSPLIT_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "admin/DiscardingObserver.h"
#include "admin/InputRemarks.h"
#include "admin/LargestSubtree.h"
#include "admin/Routing.h"
#include "ldifsplit/SplitObserver.h"

/// Goes through an input by the engine of the split, whose output is thrown away, and counts what
/// would go where. Bytes are those that the output files would have, but for their headers.
class PlannedSplit : public DiscardingObserver {
 public:
  /// What goes to the servers of one base DN.
  struct BaseDn {
    explicit BaseDn(std::size_t servers, std::size_t counters)
        : ofServer(servers), largestSubtree(counters) {}

    std::vector<Tally> ofServer;  ///< what goes to that server alone
    Tally toAll;  ///< the base DN itself, or the crypto subtree: it goes to each of them
    LargestSubtree largestSubtree;
    std::vector<Tally> moves;  ///< from server to server, see moved()

    /// All entries at and below it, each once.
    Tally total() const;
  };

  /// `otherServers`: how many servers each base DN might have; 0: nobody asks.
  PlannedSplit(const Routing& routing, InputRemarks& remarks, int otherServers);

  /// Reads the input. Throws SystemError where it cannot be read.
  void run(const std::string& inputFile);

  /// In the order of the routing.
  const std::vector<BaseDn>& baseDns() const { return baseDns_; }

  /// What goes to the default output file.
  const Tally& parent() const { return parent_; }

  /// What server `server` of a base DN gets in all: its own, and what goes to all.
  Tally ofServer(std::size_t baseDn, std::size_t server) const;

  /// What goes to all servers of all base DNs.
  const Tally& crypto() const;

  /// Everything, each entry once.
  Tally total() const;

  /// By the names of the output files; a file may be that of several servers.
  std::map<std::string, Tally> byFile() const;

  /// What would move between two servers, by their places, if the base DN had the other number.
  const Tally& moved(std::size_t baseDn, std::size_t from, std::size_t to) const;

  void startsRecord(const ldifsplit::SplitRecord& record) override;
  void wrote(const char* bytes, std::size_t size) override;

 private:
  void readsInPieces(int line) override;
  void passesOver(const ldifsplit::UnusableLine& line) override;
  void finishRecord();
  void startsRecordOfServer(const ldifsplit::SplitRecord& record, std::size_t server);

  const Routing& routing_;
  InputRemarks& remarks_;
  const std::size_t otherServers_;
  std::size_t crypto_ = 0;  // the index of its base DN
  std::vector<BaseDn> baseDns_;
  Tally parent_;

  // The record at hand: where its bytes count once they are known.
  Tally* tally_ = nullptr;             // a null pointer: there is none yet
  Tally* move_ = nullptr;              // a null pointer: it does not move
  LargestSubtree* subtree_ = nullptr;  // a null pointer: it is in none
  std::uint64_t bytes_ = 0;
};

#endif
