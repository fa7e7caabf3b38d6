#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "actors/normalizeDn.h"
#include "admin/ConfigurationReading.h"
#include "admin/Routing.h"
#include "admin/StandardOutput.h"
#include "admin/UnusedFiles.h"
#include "admin/jsonText.h"
#include "admin/verbs.h"
#include "platform/dirclient/NormalDn.h"
#include "platform/text/ascii.h"
#include "platform/text/onOneLine.h"

namespace {

constexpr const char* everyServer = "*";
constexpr const char* parentServer = "-";

/// A name that was asked for, as it was given.
struct Name {
  std::uint64_t line;  ///< of standard input; of an argument: its number
  const char* text;
  std::size_t size;
};

/// Where the answers go.
class Answers {
 public:
  Answers() = default;
  virtual ~Answers() = default;
  Answers(const Answers&) = delete;
  Answers& operator=(const Answers&) = delete;

  /// `baseDn` and `server` as Routing has them.
  virtual void add(const Name& name, const dirclient::NormalDn& dn, std::size_t baseDn,
                   std::size_t server) = 0;
  /// Of a name that is no DN.
  virtual void addUnusable(const Name& name) = 0;
  virtual void finish() = 0;
};

/// A line each: server, URL, file, base DN, name, with tabs between them.
class TextAnswers : public Answers {
 public:
  TextAnswers(const Routing& routing, StandardOutput& output) : output_(output) {
    for (const Routing::BaseDn& baseDn : routing.baseDns()) {
      std::vector<std::string> ofBase;
      int number = 1;
      for (const Routing::Server& server : baseDn.servers) {
        ofBase.push_back(columns({std::to_string(number++), server.url, server.file, baseDn.name}));
      }
      ofServer_.push_back(ofBase);
      ofAllServers_.push_back(columns({everyServer, everyServer, everyServer, baseDn.name}));
    }
    ofParent_ = columns({parentServer, parentServer, routing.defaultOutputFile(), parentServer});
  }

  void add(const Name& name, const dirclient::NormalDn& /*dn*/, std::size_t baseDn,
           std::size_t server) override {
    output_.write(columnsOf(baseDn, server));
    if (std::any_of(name.text, name.text + name.size, text::isAsciiControl)) {
      output_.write(text::onOneLine(std::string(name.text, name.size)));
    } else {
      output_.write(name.text, name.size);
    }
    output_.write("\n", 1);
  }

  void addUnusable(const Name& /*name*/) override {}

  void finish() override { output_.flush(); }

 private:
  static std::string columns(const std::vector<std::string>& values) {
    std::string result;
    for (const std::string& value : values) {
      result += text::onOneLine(value) + "\t";
    }
    return result;
  }

  const std::string& columnsOf(std::size_t baseDn, std::size_t server) const {
    if (baseDn == Routing::noBaseDn) {
      return ofParent_;
    }
    return server == Routing::allServers ? ofAllServers_[baseDn] : ofServer_[baseDn][server];
  }

  StandardOutput& output_;
  std::vector<std::vector<std::string>> ofServer_;  // by base DN and server
  std::vector<std::string> ofAllServers_;           // by base DN
  std::string ofParent_;
};

/// One object with the list of all answers. It is written as they come.
class JsonAnswers : public Answers {
 public:
  JsonAnswers(const Routing& routing, StandardOutput& output) : routing_(routing), output_(output) {
    output_.write("{\"names\":[");
  }

  void add(const Name& name, const dirclient::NormalDn& dn, std::size_t baseDn,
           std::size_t server) override {
    nlohmann::json answer = beginning(name);
    answer["normal_name"] = dn.text();
    answer["base_dn"] = nullptr;
    answer["urls"] = nlohmann::json::array();
    answer["files"] = nlohmann::json::array();
    if (baseDn == Routing::noBaseDn) {
      answer["server"] = parentServer;
      answer["files"].push_back(routing_.defaultOutputFile());
    } else {
      addPlace(routing_.baseDns()[baseDn], server, answer);
    }
    write(answer);
  }

  void addUnusable(const Name& name) override {
    ++unusable_;
    nlohmann::json answer = beginning(name);
    answer["error"] = "no usable DN";
    write(answer);
  }

  void finish() override {
    output_.write("],\"count\":" + std::to_string(count_) +
                  ",\"unusable\":" + std::to_string(unusable_) + "}\n");
    output_.flush();
  }

 private:
  static nlohmann::json beginning(const Name& name) {
    return {{"line", name.line}, {"name", std::string(name.text, name.size)}};
  }

  void addPlace(const Routing::BaseDn& baseDn, std::size_t server, nlohmann::json& answer) const {
    answer["base_dn"] = baseDn.name;
    if (server != Routing::allServers) {
      answer["server"] = server + 1;
      answer["urls"].push_back(baseDn.servers[server].url);
      answer["files"].push_back(baseDn.servers[server].file);
      return;
    }
    answer["server"] = everyServer;
    answer["files"] = baseDn.actor->getOutputFiles();
    for (const Routing::BaseDn& other : routing_.baseDns()) {
      if (&other == &baseDn || baseDn.isCrypto) {
        for (const Routing::Server& each : other.servers) {
          answer["urls"].push_back(each.url);
        }
      }
    }
  }

  void write(const nlohmann::json& answer) {
    output_.write((count_++ == 0 ? "\n" : ",\n") + jsonText(answer));
  }

  const Routing& routing_;
  StandardOutput& output_;
  std::uint64_t count_ = 0;
  std::uint64_t unusable_ = 0;
};

/// Answers for one name after the other.
class Finder {
 public:
  /// `source`: what a line with an error begins with.
  Finder(const Routing& routing, Answers& answers, std::string source)
      : routing_(routing), answers_(answers), source_(std::move(source)) {}

  void find(const char* name, std::size_t size) {
    const Name asked{++line_, name, size};
    // No "dn" line can hold a NUL.
    if (std::memchr(name, '\0', size) == nullptr) {
      dn_.normalize(name, size, schemaInitialized);
    }
    if (std::memchr(name, '\0', size) != nullptr || dn_.empty()) {
      refuse(asked);
      return;
    }
    const std::size_t baseDn = routing_.baseDnOf(dn_);
    const std::size_t server = baseDn == Routing::noBaseDn ? 0 : routing_.serverOf(dn_, baseDn);
    answers_.add(asked, dn_, baseDn, server);
  }

  ExitStatus status() const { return status_; }

 private:
  void refuse(const Name& name) {
    status_ = ExitStatus::wrong;
    std::fprintf(stderr, "%s:%llu: error: no usable DN, %s\n", source_.c_str(),
                 static_cast<unsigned long long>(name.line),
                 text::onOneLine(std::string(name.text, name.size)).c_str());
    answers_.addUnusable(name);
  }

  const Routing& routing_;
  Answers& answers_;
  const std::string source_;
  dirclient::NormalDn dn_;
  std::uint64_t line_ = 0;
  ExitStatus status_ = ExitStatus::good;
};

struct Free {
  void operator()(char* text) const { std::free(text); }
};

/// Each line of standard input, without its LF or CR LF.
void findEachLine(Finder& finder, StandardOutput& output) {
  const bool isDialogue = ::isatty(STDIN_FILENO) != 0;
  std::unique_ptr<char, Free> line;
  std::size_t capacity = 0;
  for (;;) {
    char* buffer = line.release();
    errno = 0;
    const ssize_t read = ::getline(&buffer, &capacity, stdin);
    line.reset(buffer);
    if (read < 0) {
      break;
    }
    auto size = static_cast<std::size_t>(read);
    size -= size > 0 && buffer[size - 1] == '\n' ? 1 : 0;
    size -= size > 0 && buffer[size - 1] == '\r' ? 1 : 0;
    finder.find(buffer, size);
    if (isDialogue) {
      output.flush();
    }
  }
  if (std::feof(stdin) == 0) {
    throw SystemError::of("standard input");
  }
}

}  // namespace

ExitStatus where(const WhereOptions& options) {
  options.common.loadSchema();
  const ConfigurationReading reading(options.common.configFile, std::make_shared<UnusedFiles>());
  if (!reading.printErrors()) {
    return ExitStatus::wrong;
  }
  const Routing routing(reading.config());
  StandardOutput output;
  std::unique_ptr<Answers> answers;
  if (options.json) {
    answers = std::make_unique<JsonAnswers>(routing, output);
  } else {
    answers = std::make_unique<TextAnswers>(routing, output);
  }
  Finder finder(routing, *answers, options.names.empty() ? "standard input" : "argument");
  if (options.names.empty()) {
    findEachLine(finder, output);
  } else {
    for (const std::string& name : options.names) {
      finder.find(name.data(), name.size());
    }
  }
  answers->finish();
  return finder.status();
}
