// The configuration, read without recovery and then with it over the files that this left. What is
// accepted has sections as the lines tell, each with its spare record, and is accepted again. What
// is refused is refused at a line of the file, and by a message. Files are created where the lines
// name them and nowhere else, and the input is not touched.
//
// The parser keeps its state in function-static variables: a process reads one configuration. The
// one that this target is built with has them for each thread (see CMakeLists.txt), so that a
// thread reads one, which is many times quicker than a process for each.
//
// Names of files are kept inside a directory in memory: see confined().

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "actors/CryptoActor.h"
#include "actors/LdifActor.h"
#include "actors/ldifActorFactory.h"
#include "actors/normalizeDn.h"
#include "config/VarnelConfig.h"
#include "config/VarnelConfigException.h"
#include "fuzz/CapturedMessages.h"
#include "fuzz/require.h"
#include "testsupport/TemporaryDirectory.h"

namespace {

using Server = std::pair<std::string, std::string>;  // URL and file
using Sections = std::map<std::string, std::vector<Server>>;

/// A configuration line as the manual describes it.
struct PlainLine {
  std::string key;
  std::string value;
};

bool isBlank(char c) {
  return std::string(" \t\n\v\f\r").find(c) != std::string::npos;
}

PlainLine plainLine(const std::string& text) {
  PlainLine line;
  const std::size_t colon = text.find(':');
  for (const char c : text.substr(0, colon)) {
    if (!isBlank(c)) {
      line.key += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
  }
  std::size_t begin = colon == std::string::npos ? 0 : colon + 1;
  while (begin < text.size() && isBlank(text[begin])) {
    ++begin;
  }
  std::size_t end = text.size();
  while (end > begin && isBlank(text[end - 1])) {
    --end;
  }
  // A value of one character keeps the blanks behind it.
  line.value = text.substr(begin, end - begin > 1 ? end - begin : std::string::npos);
  return line;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    lines.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return lines;
}

/// The text with no name in it that leads out of the working directory: outside of URLs, two dots
/// become underscores, and a slash stays only behind a letter, a digit or a dot.
std::string confined(const std::string& text) {
  std::string safe;
  for (std::string line : linesOf(text)) {
    if (plainLine(line).key != "url") {
      for (std::size_t i = 0; i < line.size(); ++i) {
        const char before = i > 0 ? line[i - 1] : ' ';
        const bool isInside = (before >= 'a' && before <= 'z') || (before >= '0' && before <= '9');
        if ((line[i] == '/' && !isInside && before != '.') || (line[i] == '.' && before == '.')) {
          line[i] = '_';
        }
      }
    }
    safe += line + "\n";
  }
  if (!safe.empty() && text.back() != '\n') {
    safe.pop_back();
  }
  return safe;
}

std::set<std::string> namesIn(const std::string& directory) {
  std::set<std::string> names;
  DIR* const stream = ::opendir(directory.c_str());
  require(stream != nullptr, "the directory is there");
  for (const dirent* entry = nullptr; (entry = ::readdir(stream)) != nullptr;) {
    names.insert(entry->d_name);
  }
  ::closedir(stream);
  names.erase(".");
  names.erase("..");
  return names;
}

/// Around the working directory, which is "work" in it, there is what must stay as it is.
class Place {
 public:
  Place() : directory_("/dev/shm/varnel-config-fuzz-" + std::to_string(::getpid())) {
    directory_.write("outside", content());
    directory_.write("work/sub/inside", content());
  }

  std::string work() const { return directory_.path("work"); }

  /// With the files that an input may name.
  void prepare(const std::string& config) const {
    clear("work");
    clear("work/sub");
    directory_.write("work/in.ldif", content());
    directory_.write("work/old.ldif", content());
    directory_.write("work/config", config);
    // Other names of the input.
    require(::link(directory_.path("work/in.ldif").c_str(),
                   directory_.path("work/hard.ldif").c_str()) == 0 &&
                ::symlink("in.ldif", directory_.path("work/soft.ldif").c_str()) == 0,
            "there can be links");
  }

  void checkOutside() const {
    require(namesIn(directory_.name()) == std::set<std::string>({"outside", "work"}),
            "nothing is created outside");
    require(directory_.read("outside") == content(), "nothing outside is changed");
  }

  void checkInputs(const std::string& config) const {
    require(directory_.read("work/in.ldif") == content(), "the input stays as it is");
    require(directory_.read("work/config") == config, "the configuration stays as it is");
  }

  void checkOldFile() const {
    require(directory_.read("work/old.ldif") == content(), "a file that was there stays as it is");
  }

  /// Each file that came is named in a line, or has a default name.
  void checkNames(const std::vector<std::string>& lines) const {
    std::set<std::string> allowed = {"in.ldif", "hard.ldif", "soft.ldif",  "old.ldif",
                                     "config",  "sub",       "varnel.log", "parent.ldif"};
    for (const std::string& line : lines) {
      // A name ends at a NUL.
      const std::string value = plainLine(line).value.c_str();
      allowed.insert(value.substr(value.rfind('/') + 1));
    }
    for (const char* directory : {"work", "work/sub"}) {
      for (const std::string& name : namesIn(directory_.path(directory))) {
        require(allowed.count(name) != 0, "a file that was created is one that a line names");
      }
    }
  }

 private:
  static std::string content() { return "dn: o=x\n"; }

  void clear(const std::string& directory) const {
    for (const std::string& name : namesIn(directory_.path(directory))) {
      ::unlink(directory_.path(directory + "/" + name).c_str());
    }
  }

  TemporaryDirectory directory_;
};

const Place& place() {
  static const Place onlyOne;
  return onlyOne;
}

/// What the lines of an accepted configuration say, with the file names as they stand there.
Sections sectionsOf(const std::vector<std::string>& lines) {
  std::map<std::string, std::pair<std::vector<std::string>, std::vector<std::string>>> tokens;
  std::string baseDn;
  for (const std::string& text : lines) {
    const PlainLine line = plainLine(text);
    if (line.key == "basedn") {
      baseDn = line.value;
      nLdifActor::normalizeDn(baseDn);
      tokens[baseDn];
    } else if (line.key == "url") {
      tokens[baseDn].first.push_back(line.value);
    } else if (line.key == "file") {
      tokens[baseDn].second.push_back(line.value);
    }
  }
  Sections sections;
  for (const auto& section : tokens) {
    const auto& urls = section.second.first;
    const auto& files = section.second.second;
    require(!urls.empty() && urls.size() == files.size(), "a section is complete");
    for (std::size_t i = 0; i < urls.size(); ++i) {
      sections[section.first].emplace_back(urls[i], files[i]);
    }
  }
  return sections;
}

void checkSection(const VarnelConfig& config, const std::string& baseDn,
                  const std::vector<Server>& servers) {
  std::string again = baseDn;
  require(nLdifActor::normalizeDn(again) == baseDn, "a base DN is in normal form");
  require(config.getSplitType(baseDn) == VarnelConfig::splitByHash, "a base DN is split by hash");
  const auto& records = config.baseDNSections_.at(baseDn);
  require(records.size() == servers.size() + 1, "there is one record more than there are servers");
  require(records.back() == VarnelConfig::TokenRecord(2), "the last one is the spare one");
  for (std::size_t i = 0; i < servers.size(); ++i) {
    std::string file = servers[i].second;
    if (file.find('/') == std::string::npos) {
      file = config.baseDir_ + "/" + file;
    }
    const VarnelConfig::TokenRecord wanted = {{"url", servers[i].first}, {"file", file}};
    require(records[i] == wanted, "a record is what its lines say");
    require(::access(file.c_str(), F_OK) == 0, "the file of a server is there");
  }
}

void checkActors(const VarnelConfig& config) {
  std::map<std::string, LdifActor*> actors = ldifActorFactory(config);
  require(actors.count(cryptoDN) == 1, "the crypto subtree has an actor");
  for (const std::string& baseDn : config.baseDNlist()) {
    require(actors.count(baseDn) == 1, "each base DN has an actor");
    const auto servers = config.baseDNSections_.at(baseDn).size() - 1;
    require(baseDn == cryptoDN || actors.at(baseDn)->getOutputFiles().size() == servers,
            "an actor has a file for each server");
  }
  // The factory keeps actors until the process ends.
  for (const auto& actor : actors) {
    delete actor.second;
  }
}

void checkAccepted(const VarnelConfig& config, const std::vector<std::string>& lines) {
  const Sections sections = sectionsOf(lines);
  require(config.lineCount_ == static_cast<int>(lines.size()) + 1, "the lines are counted");
  require(config.actionType_ == VarnelConfig::splitOnly, "there is an action");
  for (const std::string& name : {config.inputFile_, config.logFile_, config.defaultOutputFile_}) {
    require(::access(name.c_str(), F_OK) == 0, "the file is there");
  }
  require(config.baseDNSections_.size() == sections.size(), "each base DN has its section");
  for (const auto& section : sections) {
    checkSection(config, section.first, section.second);
  }
  checkActors(config);
}

/// Each line is a message of the tool's set, and on one line; `printed` has an error where it has
/// to.
void checkMessages(const std::string& printed, bool wantsError) {
  bool hasError = false;
  for (const std::string& line : linesOf(printed)) {
    require(line.compare(0, 6, "VNL032") == 0 && line.size() > 12 && line.compare(10, 2, ": ") == 0,
            "what is printed is a message with a text");
    require(std::none_of(line.begin(), line.end(), [](char c) { return c >= 0 && c < ' '; }),
            "a message holds no control byte");
    require(line[9] == 'E' || line[9] == 'W', "a message is an error or a warning");
    hasError = hasError || line[9] == 'E';
  }
  require(hasError == wantsError, "a message tells an error, where there is one");
}

void checkRefused(const VarnelConfigException& refused, const std::string& printed,
                  const std::vector<std::string>& lines) {
  require(refused.line() >= 0 && refused.line() <= static_cast<int>(lines.size()) + 1,
          "an error is at a line of the file, or right behind it");
  // The log file and the default output file may fail with their name alone.
  checkMessages(printed, refused.message().compare(0, 7, "error: ") == 0 ||
                             printed.find("E: ") != std::string::npos);
}

/// Reads the configuration as a new process would; returns whether it is accepted.
bool read(const std::vector<std::string>& lines, bool recovery) {
  bool isAccepted = false;
  std::thread([&] {
    VarnelConfig config("config", recovery);
    CapturedMessages messages;
    try {
      config.init();
      checkMessages(messages.end(), false);
      checkAccepted(config, lines);
      isAccepted = true;
    } catch (const VarnelConfigException& refused) {
      checkRefused(refused, messages.end(), lines);
    }
  }).join();
  return isAccepted;
}

/// Whether an "inputfile" in front of the first section names the input or a link to it.
bool namesTheInput(const std::vector<std::string>& lines) {
  for (const std::string& text : lines) {
    const PlainLine line = plainLine(text);
    const std::string file = line.value.substr(line.value.rfind('/') + 1);
    if (line.key == "basedn") {
      return false;
    }
    if (line.key == "inputfile") {
      return file == "in.ldif" || file == "hard.ldif" || file == "soft.ldif";
    }
  }
  return false;
}

bool check(const std::string& text) {
  place().prepare(text);
  const std::vector<std::string> lines = linesOf(text);
  const bool isAccepted = read(lines, false);
  place().checkInputs(text);
  place().checkOldFile();
  place().checkNames(lines);
  const bool isAcceptedAgain = read(lines, true);
  require(isAcceptedAgain || !isAccepted, "recovery accepts what was accepted before");
  // Recovery empties the files of servers: the input among them, where no line has named it so far.
  if (namesTheInput(lines)) {
    place().checkInputs(text);
  }
  place().checkNames(lines);
  place().checkOutside();
  return isAccepted;
}

/// The state of the parser is a new one in each thread: else the second would be refused.
void checkThatThreadsAreLikeProcesses() {
  const char* const example =
      "actiontype: splitonly\ninputfile: in.ldif\nsplitby: rdnhash\nbasedn: o=x\nurl: ldap://h\n"
      "file: x.ldif\n";
  require(check(example) && check(example), "each thread starts anew");
}

class InDirectory {
 public:
  explicit InDirectory(const std::string& directory) : before_(::open(".", O_PATH | O_DIRECTORY)) {
    require(before_ >= 0 && ::chdir(directory.c_str()) == 0, "the directory can be entered");
  }
  ~InDirectory() {
    require(::fchdir(before_) == 0, "the directory before can be entered again");
    ::close(before_);
  }
  InDirectory(const InDirectory&) = delete;
  InDirectory& operator=(const InDirectory&) = delete;

 private:
  int before_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const InDirectory inDirectory(place().work());
  static bool isFirst = true;
  if (isFirst) {
    isFirst = false;
    checkThatThreadsAreLikeProcesses();
  }
  check(confined(std::string(reinterpret_cast<const char*>(data), size)));
  return 0;
}
