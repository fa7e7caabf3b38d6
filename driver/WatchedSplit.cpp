#include "driver/WatchedSplit.h"

#include <sys/stat.h>

#include <cerrno>
#include <set>

#include "actors/CryptoActor.h"
#include "driver/ShareTable.h"
#include "driver/terminalWidth.h"
#include "ldifsplit/BaseDnIndex.h"
#include "ldifsplit/LdifSplit.h"
#include "platform/dirclient/dirclient.h"
#include "platform/messages/MessageReceiver.h"
#include "platform/messages/PrintMessage.h"

namespace {

/// While it lives, the line is cleared before each message.
class MessagesBesideLine {
 public:
  explicit MessagesBesideLine(ProgressLine& line) {
    receiveMessages([&line](const Message& message) {
      line.clear();
      std::vector<const char*> arguments;
      for (const std::string& argument : message.arguments) {
        arguments.push_back(argument.c_str());
      }
      printMessageLine(messageLineOf(message.set, message.number, arguments.data(),
                                     static_cast<int>(arguments.size())));
    });
  }
  ~MessagesBesideLine() { receiveMessages({}); }
  MessagesBesideLine(const MessagesBesideLine&) = delete;
  MessagesBesideLine& operator=(const MessagesBesideLine&) = delete;
};

/// The names in their order, each once.
std::vector<std::string> eachOnce(const std::vector<std::string>& names) {
  std::set<std::string> seen;
  std::vector<std::string> result;
  for (const std::string& name : names) {
    if (seen.insert(name).second) {
      result.push_back(name);
    }
  }
  return result;
}

/// As the configuration has it: below the base directory the name alone.
std::string shortName(const std::string& file, const std::string& directory) {
  const std::string front = directory + "/";
  return file.compare(0, front.size(), front) == 0 ? file.substr(front.size()) : file;
}

}  // namespace

void WatchedSplit::run(const VarnelConfig& config,
                       const std::map<std::string, LdifActor*>& actors) {
  ProgressLine line(terminal_);
  const MessagesBesideLine messages(line);
  line_ = read_ldap_debug() == 0 ? &line : nullptr;
  ldifsplit::ldifSplit(config.inputFile_, actors, config.defaultOutputFile_, *this);
  line_ = nullptr;
}

AutoClose WatchedSplit::openInput(const std::string& name) {
  AutoClose input = SplitObserver::openInput(name);
  struct stat status {};
  if (input != nullptr && ::fstat(::fileno(input.get()), &status) == 0 && S_ISREG(status.st_mode)) {
    size_ = static_cast<std::uint64_t>(status.st_size);
  }
  return input;
}

void WatchedSplit::hasRead(std::uint64_t bytes, std::uint64_t records) {
  if (line_ == nullptr) {
    return;
  }
  // A fault may be told later than it came.
  const int before = errno;
  line_->show({bytes, size_, records});
  errno = before;
}

void WatchedSplit::ended(const std::vector<ldifsplit::FileCounts>& files) {
  for (const ldifsplit::FileCounts& counts : files) {
    Share& share = shares_[counts.baseDn][*counts.file];
    share.entries += counts.records;
    share.bytes += counts.bytes;
  }
}

void WatchedSplit::printShares(const VarnelConfig& config,
                               const std::map<std::string, LdifActor*>& actors) const {
  ShareTable table;
  std::size_t index = 0;
  std::size_t localhost = ldifsplit::BaseDnIndex::none;
  for (const auto& actor : actors) {
    if (actor.first == cryptoDN) {
      localhost = index;
    } else {
      table.beginGroup(messageText(32, 1, 79, actor.first.c_str()));
      const SharesByFile shares = sharesOf(index);
      for (const std::string& file : eachOnce(actor.second->getOutputFiles())) {
        const auto found = shares.find(file);
        const Share share = found != shares.end() ? found->second : Share{};
        table.add(shortName(file, config.baseDir_), share.entries, share.bytes);
      }
    }
    ++index;
  }
  const SharesByFile copies = sharesOf(localhost);
  if (!copies.empty()) {
    const Share& share = copies.begin()->second;  // as large as every other
    table.beginGroup(messageText(32, 1, 79, cryptoDN));
    table.add(messageText(32, 1, 80), share.entries, share.bytes);
  }
  for (const auto& share : sharesOf(ldifsplit::BaseDnIndex::none)) {
    table.beginGroup(messageText(32, 1, 81));
    table.add(shortName(share.first, config.baseDir_), share.second.entries, share.second.bytes);
  }
  std::fputs(table.text(terminalWidth(terminal_)).c_str(), terminal_);
}

WatchedSplit::SharesByFile WatchedSplit::sharesOf(std::size_t baseDn) const {
  const auto found = shares_.find(baseDn);
  return found != shares_.end() ? found->second : SharesByFile{};
}
