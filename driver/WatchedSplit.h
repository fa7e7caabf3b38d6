// A split that somebody looks at.
#ifndef DRIVER_WATCHEDSPLIT_H
#define DRIVER_WATCHEDSPLIT_H

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "actors/LdifActor.h"
#include "config/VarnelConfig.h"
#include "driver/ProgressLine.h"
#include "ldifsplit/SplitObserver.h"

/// Shows a split on a terminal: a line while it runs, and a table of the shares behind it. Messages
/// stand alone: the line goes before each of them.
class WatchedSplit : private ldifsplit::SplitObserver {
 public:
  explicit WatchedSplit(std::FILE* terminal) : terminal_(terminal) {}

  /// Splits as ldifSplit() does, and throws what it throws. There is no line where debug output is
  /// wanted, which would tear it apart. No line is left when this returns or throws. Messages go
  /// the standard way from here on.
  void run(const VarnelConfig& config, const std::map<std::string, LdifActor*>& actors);

  /// Behind a good run: for each base DN its files, with what each got through this base DN. The
  /// entries of cn=localhost, which every file has, are told once, and so are those of the default
  /// output file; nothing is told where there were none.
  void printShares(const VarnelConfig& config,
                   const std::map<std::string, LdifActor*>& actors) const;

 private:
  /// What a file got.
  struct Share {
    std::uint64_t entries = 0;
    std::uint64_t bytes = 0;
  };

  using SharesByFile = std::map<std::string, Share>;

  AutoClose openInput(const std::string& name) override;
  bool wantsRecords() const override { return false; }
  void hasRead(std::uint64_t bytes, std::uint64_t records) override;
  void ended(const std::vector<ldifsplit::FileCounts>& files) override;
  SharesByFile sharesOf(std::size_t baseDn) const;

  std::FILE* terminal_;
  ProgressLine* line_ = nullptr;                // while the split runs
  std::uint64_t size_ = 0;                      // of the input in bytes; 0: not known
  std::map<std::size_t, SharesByFile> shares_;  // by the index of their base DN
};

#endif
