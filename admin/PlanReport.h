// What a planned split shows.
#ifndef ADMIN_PLANREPORT_H
#define ADMIN_PLANREPORT_H

#include <cstddef>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "admin/InputRemarks.h"
#include "admin/PlannedSplit.h"
#include "admin/Routing.h"
#include "config/VarnelConfig.h"

/// Tells of a planned split that was run, as a table for people and as JSON.
class PlanReport {
 public:
  /// Base DNs that lack something.
  struct Missing {
    std::set<std::string> entries;      ///< there is none at or below it
    std::set<std::string> baseEntries;  ///< there are some below it, but not itself
  };

  /// `otherServers`: as the planned split had it. What is referred to has to outlive this.
  PlanReport(const VarnelConfig& config, const Routing& routing, const PlannedSplit& plan,
             const InputRemarks& remarks, const Missing& missing, int otherServers);

  /// Lines of at most 80 columns where the names allow that.
  std::string table() const;

  nlohmann::json json() const;

 private:
  std::string tableOf(std::size_t baseDn) const;
  std::string largestPart(std::size_t baseDn) const;
  std::string movesOf(std::size_t baseDn) const;
  std::string row(const std::string& server, const Tally& tally, std::uint64_t bytesInAll,
                  const std::string& file) const;
  std::string shortName(const std::string& file) const;

  nlohmann::json jsonOf(std::size_t baseDn) const;
  nlohmann::json jsonOfLargestSubtree(std::size_t baseDn) const;
  nlohmann::json jsonOfMoves(std::size_t baseDn) const;
  nlohmann::json jsonOfRemarks() const;

  const VarnelConfig& config_;
  const Routing& routing_;
  const PlannedSplit& plan_;
  const InputRemarks& remarks_;
  const Missing& missing_;
  const std::size_t otherServers_;
};

#endif
