// Entries of the input, looked for at the running servers.
#ifndef ADMIN_PROBER_H
#define ADMIN_PROBER_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "admin/ProbedServer.h"

/// An entry that is to be at a server.
struct ProbedEntry {
  static constexpr std::size_t everyServer = static_cast<std::size_t>(-1);

  std::string dn;
  int line;            ///< of the input
  std::size_t baseDn;  ///< by the list that the prober was given
  std::size_t server;  ///< from 0, or everyServer of its base DN
};

/// Asks for entries and sorts the answers.
class Prober {
 public:
  enum Result { found, missing, misplaced, unreachable };
  static constexpr std::size_t results = unreachable + 1;

  /// An entry that is not found as it should be.
  struct Fault {
    Result result;
    std::string dn;
    int line;             ///< of the input
    std::string at;       ///< server that should have it
    std::string instead;  ///< misplaced: the servers that have it
  };

  /// `urls`: for each base DN those of its servers. `others`: whether each entry is looked for at
  /// the other servers too; where it is not at its own, it always is. `limit`: how many faults are
  /// kept.
  Prober(const std::vector<std::vector<std::string>>& urls, const ProbeLogin& login, bool others,
         std::size_t limit);

  /// Connects to all servers.
  void connect();

  /// Has the entry looked for. It may wait for answers to those before.
  void add(const ProbedEntry& entry);

  /// Waits for all answers.
  void finish();

  std::uint64_t count(Result result) const { return counts_[result]; }
  std::uint64_t total() const;
  const std::vector<Fault>& faults() const { return faults_; }
  const std::vector<std::unique_ptr<ProbedServer>>& servers() const { return servers_; }

 private:
  struct Open {
    ProbedEntry entry;
    std::vector<std::size_t> own;  // servers
    std::size_t waiting = 0;
    bool areOthersAsked = false;
    std::size_t missedAt = none;
    std::size_t unreachableAt = none;
    std::vector<std::size_t> elsewhere;
  };
  static constexpr std::size_t none = static_cast<std::size_t>(-1);

  std::size_t serverOf(const std::string& url, const ProbeLogin& login);
  void take(std::size_t server, std::uint64_t question, ProbedServer::Answer answer);
  void askOthers(std::uint64_t question, Open& open);
  void close(std::uint64_t question, const Open& open);
  void step();

  const bool others_;
  const std::size_t limit_;
  std::vector<std::unique_ptr<ProbedServer>> servers_;
  std::map<std::string, std::size_t> numbers_;          // of the servers, by address
  std::vector<std::vector<std::size_t>> serversOf_;     // by base DN
  std::vector<std::vector<std::size_t>> allServersOf_;  // the same, each once
  std::unordered_map<std::uint64_t, Open> open_;
  std::uint64_t next_ = 0;
  std::uint64_t counts_[results] = {};
  std::vector<Fault> faults_;
};

/// The word for a result.
const char* nameOf(Prober::Result result);

#endif
