#include <array>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "admin/ConfigurationReading.h"
#include "admin/Differences.h"
#include "admin/DiscardingObserver.h"
#include "admin/Prober.h"
#include "admin/Routing.h"
#include "admin/UnusedFiles.h"
#include "admin/verbs.h"
#include "common/AutoClose.h"
#include "platform/text/onOneLine.h"

namespace {

/// The URLs of the servers of each base DN, in the order of the routing. The crypto subtree is at
/// every server.
std::vector<std::vector<std::string>> urlsOf(const Routing& routing) {
  std::vector<std::vector<std::string>> urls;
  std::vector<std::string> all;
  for (const Routing::BaseDn& baseDn : routing.baseDns()) {
    urls.emplace_back();
    for (const Routing::Server& server : baseDn.servers) {
      urls.back().push_back(server.url);
      all.push_back(server.url);
    }
  }
  for (std::size_t i = 0; i < urls.size(); ++i) {
    if (routing.baseDns()[i].isCrypto) {
      urls[i] = all;
    }
  }
  return urls;
}

/// Draws entries from the input, each as likely as any other, and has them looked for; base entries
/// always. Without a size every entry is looked for as it comes.
class Sampler : public DiscardingObserver {
 public:
  Sampler(const std::string& inputFile, const Routing& routing, Prober& prober, bool takesAll,
          std::size_t size)
      : inputFile_(inputFile),
        routing_(routing),
        prober_(prober),
        takesAll_(takesAll),
        size_(size),
        random_(std::random_device()()) {}

  void startsRecord(const ldifsplit::SplitRecord& record) override {
    if (record.baseDn == Routing::noBaseDn) {
      ++withoutServer_;
      return;
    }
    const std::size_t server = routing_.serverOf(record.normalDn, record.baseDn, record.files);
    const bool isBase = record.normalDn.text() == routing_.baseDns()[record.baseDn].normal.text();
    ProbedEntry entry{"", record.line, record.baseDn,
                      server == Routing::allServers ? ProbedEntry::everyServer : server};
    if (takesAll_ || isBase) {
      entry.dn.assign(record.dn, record.dnSize);
      ++(isBase ? baseEntries_ : entries_);
      prober_.add(entry);
      return;
    }
    // Of n entries each stands in the sample with the same probability.
    const std::uint64_t place =
        entries_ < size_ ? entries_
                         : std::uniform_int_distribution<std::uint64_t>(0, entries_)(random_);
    ++entries_;
    if (place < size_) {
      entry.dn.assign(record.dn, record.dnSize);
      if (place == sample_.size()) {
        sample_.push_back(std::move(entry));
      } else {
        sample_[place] = std::move(entry);
      }
    }
  }

  /// Behind the run.
  void finish() {
    for (const ProbedEntry& entry : sample_) {
      prober_.add(entry);
    }
    prober_.finish();
  }

  std::uint64_t entries() const { return entries_ + baseEntries_; }
  std::uint64_t withoutServer() const { return withoutServer_; }
  std::uint64_t unusableLines() const { return unusableLines_; }

  /// A line of the input where a split would stop.
  void noteUnusable(int line, const std::string& why) {
    ++unusableLines_;
    std::fprintf(stderr, "%s:%d: %s: a split stops here\n", text::onOneLine(inputFile_).c_str(),
                 line, why.c_str());
  }

 protected:
  void passesOver(const ldifsplit::UnusableLine& line) override {
    constexpr std::uint64_t mostNamed = 20;
    if (unusableLines_ >= mostNamed) {
      ++unusableLines_;
      return;
    }
    noteUnusable(line.number, line.isDn ? "no usable DN" : "no LDIF line");
  }

 private:
  const std::string& inputFile_;
  const Routing& routing_;
  Prober& prober_;
  const bool takesAll_;
  const std::size_t size_;
  std::mt19937_64 random_;
  std::vector<ProbedEntry> sample_;  // at most size_
  std::uint64_t entries_ = 0;        // that the sample is drawn from
  std::uint64_t baseEntries_ = 0;
  std::uint64_t withoutServer_ = 0;
  std::uint64_t unusableLines_ = 0;
};

double percent(std::uint64_t part, std::uint64_t whole) {
  return whole == 0 ? 0 : 100 * static_cast<double>(part) / static_cast<double>(whole);
}

std::uint64_t questionsOf(const Prober& prober) {
  std::uint64_t asked = 0;
  for (const auto& server : prober.servers()) {
    asked += server->counts().asked;
  }
  return asked;
}

void print(const Prober& prober, const Sampler& sampler, double seconds) {
  for (const Prober::Fault& fault : prober.faults()) {
    std::printf("%s: %s, %s, line %d of the input", fault.at.c_str(), nameOf(fault.result),
                text::onOneLine(fault.dn).c_str(), fault.line);
    if (!fault.instead.empty()) {
      std::printf(", it is at %s", fault.instead.c_str());
    }
    std::printf("\n");
  }
  const std::uint64_t faults = prober.total() - prober.count(Prober::found);
  if (faults > prober.faults().size()) {
    std::printf("and %" PRIu64 " more\n", faults - prober.faults().size());
  }
  for (const auto& server : prober.servers()) {
    const ProbedServer::Counts& counts = server->counts();
    std::printf("%s: %" PRIu64 " questions, %" PRIu64 " there, %" PRIu64 " not there, %" PRIu64
                " without an answer%s%s\n",
                server->address().c_str(), counts.asked, counts.here, counts.notHere, counts.none,
                server->failure().empty() ? "" : ": ", server->failure().c_str());
  }
  std::printf("%" PRIu64 " of %" PRIu64 " entries: ", prober.total(), sampler.entries());
  for (std::size_t i = 0; i < Prober::results; ++i) {
    const auto result = static_cast<Prober::Result>(i);
    std::printf("%s%" PRIu64 " %s (%.2f %%)", i == 0 ? "" : ", ", prober.count(result),
                nameOf(result), percent(prober.count(result), prober.total()));
  }
  std::printf("; %" PRIu64 " entries more have no server\n", sampler.withoutServer());
  std::printf("%.0f questions a second\n",
              seconds > 0 ? static_cast<double>(questionsOf(prober)) / seconds : 0);
}

void printJsonOf(const Prober& prober, const Sampler& sampler, double seconds, bool good) {
  nlohmann::ordered_json result;
  result["verb"] = "probe";
  result["good"] = good;
  result["entries"] = sampler.entries();
  result["without_server"] = sampler.withoutServer();
  result["unusable_lines"] = sampler.unusableLines();
  result["sampled"] = prober.total();
  nlohmann::ordered_json counts;
  nlohmann::ordered_json rates;
  for (std::size_t i = 0; i < Prober::results; ++i) {
    const auto each = static_cast<Prober::Result>(i);
    counts[nameOf(each)] = prober.count(each);
    rates[nameOf(each)] = percent(prober.count(each), prober.total());
  }
  result["counts"] = counts;
  result["percent"] = rates;
  nlohmann::ordered_json servers = nlohmann::ordered_json::array();
  for (const auto& server : prober.servers()) {
    const ProbedServer::Counts& told = server->counts();
    servers.push_back({{"url", server->address()},
                       {"asked", told.asked},
                       {"here", told.here},
                       {"not_here", told.notHere},
                       {"no_answer", told.none},
                       {"failure", server->failure()}});
  }
  result["servers"] = servers;
  nlohmann::ordered_json faults = nlohmann::ordered_json::array();
  for (const Prober::Fault& fault : prober.faults()) {
    faults.push_back({{"kind", nameOf(fault.result)},
                      {"dn", fault.dn},
                      {"input_line", fault.line},
                      {"url", fault.at},
                      {"instead", fault.instead}});
  }
  result["differences"] = faults;
  result["more"] = prober.total() - prober.count(Prober::found) - prober.faults().size();
  result["questions_a_second"] =
      seconds > 0 ? static_cast<double>(questionsOf(prober)) / seconds : 0;
  printJson(result);
}

/// The whole file without its last line end.
std::string readPassword(const std::string& name) {
  const AutoClose file(std::fopen(name.c_str(), "rb"));
  std::string password;
  std::array<char, 256> block{};
  std::size_t size = 0;
  while (file != nullptr && (size = std::fread(block.data(), 1, block.size(), file.get())) != 0) {
    password.append(block.data(), size);
  }
  if (file == nullptr || std::ferror(file.get()) != 0) {
    throw SystemError::of(text::onOneLine(name));
  }
  if (!password.empty() && password.back() == '\n') {
    password.pop_back();
    if (!password.empty() && password.back() == '\r') {
      password.pop_back();
    }
  }
  return password;
}

}  // namespace

ExitStatus probe(ProbeOptions options) {
  options.common.loadSchema();
  const ConfigurationReading reading(options.common.configFile, std::make_shared<UnusedFiles>());
  if (!reading.printErrors()) {
    return ExitStatus::wrong;
  }
  if (!options.passwordFile.empty()) {
    options.login.password = readPassword(options.passwordFile);
  }
  const VarnelConfig& config = reading.config();
  const Routing routing(config);
  const bool takesAll = options.sample == ProbeOptions::everyEntry;
  Prober prober(urlsOf(routing), options.login, options.others, options.limit);
  Sampler sampler(config.inputFile_, routing, prober, takesAll,
                  takesAll ? 0 : static_cast<std::size_t>(std::stoull(options.sample)));
  prober.connect();
  const auto begin = std::chrono::steady_clock::now();
  const DiscardingObserver::End end =
      sampler.run(config.inputFile_, routing.actors(), config.defaultOutputFile_);
  if (!end.isWhole()) {
    sampler.noteUnusable(end.line, end.why);
  }
  sampler.finish();
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
  const bool good = prober.count(Prober::found) == prober.total() && sampler.unusableLines() == 0;
  if (options.json) {
    printJsonOf(prober, sampler, seconds.count(), good);
  } else {
    print(prober, sampler, seconds.count());
  }
  return good ? ExitStatus::good : ExitStatus::wrong;
}
