#include "admin/PlanReport.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cmath>
#include <cstdio>

#include "platform/text/onOneLine.h"

namespace {

constexpr const char* columnsOfTable =
    "  server      entries          bytes    share                   file\n";
constexpr const char* columnsOfMoves = "    from      to      entries          bytes\n";

/// Per cent.
double shareOf(std::uint64_t part, std::uint64_t all) {
  return all == 0 ? 0 : 100.0 * static_cast<double>(part) / static_cast<double>(all);
}

std::string percent(double share) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "%.1f %%", share);
  return text.data();
}

std::string bar(double share) {
  constexpr double full = 16;
  return std::string(static_cast<std::size_t>(std::lround(share / 100 * full)), '#');
}

std::string counted(std::uint64_t number, const std::string& noun, const std::string& plural) {
  return std::to_string(number) + " " + (number == 1 ? noun : plural);
}

std::string entriesAndBytes(const Tally& tally) {
  return counted(tally.entries, "entry", "entries") + ", " + counted(tally.bytes, "byte", "bytes");
}

nlohmann::json jsonOfTally(const Tally& tally) {
  return {{"entries", tally.entries}, {"bytes", tally.bytes}};
}

}  // namespace

PlanReport::PlanReport(const VarnelConfig& config, const Routing& routing, const PlannedSplit& plan,
                       const InputRemarks& remarks, const Missing& missing, int otherServers)
    : config_(config),
      routing_(routing),
      plan_(plan),
      remarks_(remarks),
      missing_(missing),
      otherServers_(static_cast<std::size_t>(otherServers)) {}

std::string PlanReport::table() const {
  const Tally total = plan_.total();
  std::string text =
      text::onOneLine(shortName(config_.inputFile_)) + ": " + entriesAndBytes(total) + "\n";
  for (std::size_t i = 0; i < routing_.baseDns().size(); ++i) {
    if (!routing_.baseDns()[i].isCrypto) {
      text += "\n" + tableOf(i);
    }
  }
  text += "\nBelow no base DN: " + entriesAndBytes(plan_.parent()) + "\n" + columnsOfTable +
          row("-", plan_.parent(), total.bytes, routing_.defaultOutputFile());
  return text;
}

std::string PlanReport::tableOf(std::size_t baseDn) const {
  const Routing::BaseDn& base = routing_.baseDns()[baseDn];
  const PlannedSplit::BaseDn& counts = plan_.baseDns()[baseDn];
  std::uint64_t bytesInAll = 0;
  for (std::size_t server = 0; server < base.servers.size(); ++server) {
    bytesInAll += plan_.ofServer(baseDn, server).bytes;
  }
  std::string text =
      text::onOneLine(base.name) + ": " + entriesAndBytes(counts.total()) + "\n" + columnsOfTable;
  for (std::size_t server = 0; server < base.servers.size(); ++server) {
    text += row(std::to_string(server + 1), plan_.ofServer(baseDn, server), bytesInAll,
                base.servers[server].file);
  }
  if (counts.toAll.entries + plan_.crypto().entries > 0) {
    text += "  Of these, each server has " +
            counted(counts.toAll.entries, "base entry", "base entries") + " and " +
            counted(plan_.crypto().entries, "crypto entry", "crypto entries") + ",\n  " +
            counted(counts.toAll.bytes + plan_.crypto().bytes, "byte", "bytes") +
            ", which go to all of them.\n";
  }
  return text + largestPart(baseDn) + movesOf(baseDn);
}

/// A line of the table. The share is that of `bytesInAll`.
std::string PlanReport::row(const std::string& server, const Tally& tally, std::uint64_t bytesInAll,
                            const std::string& file) const {
  const double share = shareOf(tally.bytes, bytesInAll);
  std::array<char, 128> text{};
  std::snprintf(text.data(), text.size(), "  %6s %12" PRIu64 " %14" PRIu64 " %8s  %-16s  ",
                server.c_str(), tally.entries, tally.bytes, percent(share).c_str(),
                bar(share).c_str());
  return text.data() + text::onOneLine(shortName(file)) + "\n";
}

/// Without the working directory.
std::string PlanReport::shortName(const std::string& file) const {
  const std::string directory = config_.cwd_ + "/";
  return file.compare(0, directory.size(), directory) == 0 ? file.substr(directory.size()) : file;
}

std::string PlanReport::largestPart(std::size_t baseDn) const {
  const LargestSubtree::Answer largest = plan_.baseDns()[baseDn].largestSubtree.answer();
  if (largest.name.empty()) {
    return "";
  }
  const std::uint64_t bytesOfBase = plan_.baseDns()[baseDn].total().bytes;
  std::string text =
      "  Largest part that cannot be divided: " + text::onOneLine(largest.name) + "\n    ";
  if (largest.isExact()) {
    return text + entriesAndBytes(largest.least) + ", " +
           percent(shareOf(largest.least.bytes, bytesOfBase)) + "\n";
  }
  text += "at least " + entriesAndBytes(largest.least) + ", " +
          percent(shareOf(largest.least.bytes, bytesOfBase)) + "\n    at most  " +
          entriesAndBytes(largest.most) + ", " + percent(shareOf(largest.most.bytes, bytesOfBase)) +
          "\n";
  if (largest.bytesOfOthers > largest.least.bytes) {
    text += "    or another one of at most " + counted(largest.bytesOfOthers, "byte", "bytes") +
            ", " + percent(shareOf(largest.bytesOfOthers, bytesOfBase)) + "\n";
  }
  return text;
}

std::string PlanReport::movesOf(std::size_t baseDn) const {
  if (otherServers_ == 0) {
    return "";
  }
  const std::size_t servers = routing_.baseDns()[baseDn].servers.size();
  std::string rows;
  Tally total;
  for (std::size_t from = 0; from < servers; ++from) {
    for (std::size_t to = 0; to < otherServers_; ++to) {
      const Tally& moved = plan_.moved(baseDn, from, to);
      if (moved.entries > 0) {
        total.entries += moved.entries;
        total.bytes += moved.bytes;
        std::array<char, 128> line{};
        std::snprintf(line.data(), line.size(), "  %6zu  %6zu %12" PRIu64 " %14" PRIu64 "\n",
                      from + 1, to + 1, moved.entries, moved.bytes);
        rows += line.data();
      }
    }
  }
  const std::string text = "  With " + counted(otherServers_, "server", "servers") +
                           " in place of " + std::to_string(servers) + ", " +
                           entriesAndBytes(total) + " would move";
  if (rows.empty()) {
    return text + ".\n";
  }
  return text + ":\n" + columnsOfMoves + rows +
         (otherServers_ > servers ? "  Each new server gets what goes to all of them, too.\n" : "");
}

nlohmann::json PlanReport::json() const {
  nlohmann::json result = jsonOfTally(plan_.total());
  result["configuration"] = config_.configFile_;
  result["input"] = config_.inputFile_;
  result["base_dns"] = nlohmann::json::array();
  for (std::size_t i = 0; i < routing_.baseDns().size(); ++i) {
    if (!routing_.baseDns()[i].isCrypto) {
      result["base_dns"].push_back(jsonOf(i));
    }
  }
  result["crypto"] = jsonOfTally(plan_.crypto());
  result["parent"] = jsonOfTally(plan_.parent());
  result["parent"]["file"] = routing_.defaultOutputFile();
  result["parent"]["share"] = shareOf(plan_.parent().bytes, plan_.total().bytes);
  result["files"] = nlohmann::json::array();
  for (const auto& file : plan_.byFile()) {
    nlohmann::json one = jsonOfTally(file.second);
    one["file"] = file.first;
    result["files"].push_back(one);
  }
  result["remarks"] = jsonOfRemarks();
  result["split_would_succeed"] = !remarks_.endsSplit();
  return result;
}

nlohmann::json PlanReport::jsonOf(std::size_t baseDn) const {
  const Routing::BaseDn& base = routing_.baseDns()[baseDn];
  const PlannedSplit::BaseDn& counts = plan_.baseDns()[baseDn];
  nlohmann::json result = jsonOfTally(counts.total());
  result["base_dn"] = base.name;
  result["base_entries"] = jsonOfTally(counts.toAll);
  result["entries_missing"] = missing_.entries.count(base.name) != 0;
  result["base_entry_missing"] = missing_.baseEntries.count(base.name) != 0;
  result["servers"] = nlohmann::json::array();
  std::uint64_t bytesInAll = 0;
  for (std::size_t server = 0; server < base.servers.size(); ++server) {
    bytesInAll += plan_.ofServer(baseDn, server).bytes;
  }
  for (std::size_t server = 0; server < base.servers.size(); ++server) {
    const Tally tally = plan_.ofServer(baseDn, server);
    nlohmann::json one = jsonOfTally(tally);
    one["server"] = server + 1;
    one["url"] = base.servers[server].url;
    one["file"] = base.servers[server].file;
    one["share"] = shareOf(tally.bytes, bytesInAll);
    result["servers"].push_back(one);
  }
  result["largest_subtree"] = jsonOfLargestSubtree(baseDn);
  if (otherServers_ > 0) {
    result["moves"] = jsonOfMoves(baseDn);
  }
  return result;
}

nlohmann::json PlanReport::jsonOfLargestSubtree(std::size_t baseDn) const {
  const LargestSubtree::Answer largest = plan_.baseDns()[baseDn].largestSubtree.answer();
  if (largest.name.empty()) {
    return nullptr;
  }
  const std::uint64_t bytesOfBase = plan_.baseDns()[baseDn].total().bytes;
  return {{"rdn", largest.name},
          {"exact", largest.isExact()},
          {"at_least", jsonOfTally(largest.least)},
          {"at_most", jsonOfTally(largest.most)},
          {"share", shareOf(largest.least.bytes, bytesOfBase)},
          {"bytes_of_others_at_most", largest.bytesOfOthers}};
}

nlohmann::json PlanReport::jsonOfMoves(std::size_t baseDn) const {
  nlohmann::json moves = nlohmann::json::array();
  for (std::size_t from = 0; from < routing_.baseDns()[baseDn].servers.size(); ++from) {
    for (std::size_t to = 0; to < otherServers_; ++to) {
      const Tally& moved = plan_.moved(baseDn, from, to);
      if (moved.entries > 0) {
        nlohmann::json move = jsonOfTally(moved);
        move["from"] = from + 1;
        move["to"] = to + 1;
        moves.push_back(move);
      }
    }
  }
  return moves;
}

nlohmann::json PlanReport::jsonOfRemarks() const {
  nlohmann::json remarks = nlohmann::json::object();
  for (std::size_t i = 0; i < InputRemarks::kindCount; ++i) {
    const auto kind = static_cast<InputRemarks::Kind>(i);
    const InputRemarks::Lines& lines = remarks_.of(kind);
    remarks[InputRemarks::keyOf(kind)] = {{"count", lines.count}, {"lines", lines.kept}};
  }
  return remarks;
}
