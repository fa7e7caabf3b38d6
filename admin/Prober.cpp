#include "admin/Prober.h"

#include <poll.h>

#include <algorithm>
#include <numeric>
#include <thread>

constexpr std::size_t ProbedEntry::everyServer;
constexpr std::size_t Prober::none;

const char* nameOf(Prober::Result result) {
  switch (result) {
    case Prober::found:
      return "found";
    case Prober::missing:
      return "missing";
    case Prober::misplaced:
      return "misplaced";
    case Prober::unreachable:
      return "unreachable";
  }
  return "";
}

Prober::Prober(const std::vector<std::vector<std::string>>& urls, const ProbeLogin& login,
               bool others, std::size_t limit)
    : others_(others), limit_(limit) {
  for (const std::vector<std::string>& ofBase : urls) {
    std::vector<std::size_t> numbers;
    numbers.reserve(ofBase.size());
    for (const std::string& url : ofBase) {
      numbers.push_back(serverOf(url, login));
    }
    serversOf_.push_back(numbers);
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    allServersOf_.push_back(numbers);
  }
}

std::size_t Prober::serverOf(const std::string& url, const ProbeLogin& login) {
  const std::size_t number = servers_.size();
  const auto place = numbers_.emplace(ProbedServer::addressOf(url), number);
  if (place.second) {
    servers_.push_back(std::make_unique<ProbedServer>(
        url, login, [this, number](std::uint64_t question, ProbedServer::Answer answer) {
          take(number, question, answer);
        }));
  }
  return place.first->second;
}

void Prober::connect() {
  // The library prepares itself in its first call, before there are threads.
  int version = 0;
  ldap_get_option(nullptr, LDAP_OPT_PROTOCOL_VERSION, &version);
  // Servers that do not answer cost one time-out together.
  constexpr std::size_t mostThreads = 32;
  for (std::size_t begin = 0; begin < servers_.size(); begin += mostThreads) {
    std::vector<std::thread> threads;
    for (std::size_t i = begin; i < std::min(begin + mostThreads, servers_.size()); ++i) {
      threads.emplace_back([server = servers_[i].get()] { server->connect(); });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
  }
}

void Prober::add(const ProbedEntry& entry) {
  constexpr std::size_t openOfServer = 128;
  while (open_.size() >= openOfServer * servers_.size()) {
    step();
  }
  const std::uint64_t question = next_++;
  Open& open = open_[question];
  open.entry = entry;
  if (entry.server == ProbedEntry::everyServer) {
    open.own = allServersOf_[entry.baseDn];
  } else {
    open.own.push_back(serversOf_[entry.baseDn][entry.server]);
  }
  open.waiting = open.own.size();
  for (const std::size_t server : open.own) {
    servers_[server]->ask(question, entry.dn);
  }
}

void Prober::take(std::size_t server, std::uint64_t question, ProbedServer::Answer answer) {
  Open& open = open_.at(question);
  if (!open.areOthersAsked) {
    if (answer == ProbedServer::Answer::notHere) {
      open.missedAt = server;
    } else if (answer == ProbedServer::Answer::none) {
      open.unreachableAt = server;
    }
  } else if (answer == ProbedServer::Answer::here) {
    open.elsewhere.push_back(server);
  }
  if (--open.waiting > 0) {
    return;
  }
  if (!open.areOthersAsked && (others_ || open.missedAt != none)) {
    askOthers(question, open);
  }
  if (open.waiting == 0) {
    close(question, open);
  }
}

void Prober::askOthers(std::uint64_t question, Open& open) {
  open.areOthersAsked = true;
  std::vector<std::size_t> others;
  for (std::size_t server = 0; server < servers_.size(); ++server) {
    if (std::find(open.own.begin(), open.own.end(), server) == open.own.end()) {
      others.push_back(server);
    }
  }
  open.waiting = others.size();
  for (const std::size_t server : others) {
    servers_[server]->ask(question, open.entry.dn);
  }
}

void Prober::close(std::uint64_t question, const Open& open) {
  const Result result = !open.elsewhere.empty()      ? misplaced
                        : open.missedAt != none      ? missing
                        : open.unreachableAt != none ? unreachable
                                                     : found;
  ++counts_[result];
  if (result != found && faults_.size() < limit_) {
    const std::size_t at = open.missedAt != none        ? open.missedAt
                           : open.unreachableAt != none ? open.unreachableAt
                                                        : open.own.front();
    std::string instead;
    for (const std::size_t server : open.elsewhere) {
      instead += (instead.empty() ? "" : " ") + servers_[server]->address();
    }
    faults_.push_back({result, open.entry.dn, open.entry.line, servers_[at]->address(), instead});
  }
  open_.erase(question);
}

/// Lets each server do what it can; where none can do anything, waits a moment.
void Prober::step() {
  constexpr int moment = 50;  // milliseconds
  bool moved = false;
  for (const auto& server : servers_) {
    moved = server->pump() || moved;
  }
  if (moved) {
    return;
  }
  std::vector<struct pollfd> waits;
  for (const auto& server : servers_) {
    const int file = server->descriptor();
    if (file >= 0) {
      waits.push_back({file, POLLIN, 0});
    }
  }
  ::poll(waits.data(), waits.size(), moment);
}

void Prober::finish() {
  while (!open_.empty()) {
    step();
  }
}

std::uint64_t Prober::total() const {
  return std::accumulate(std::begin(counts_), std::end(counts_), std::uint64_t{0});
}
