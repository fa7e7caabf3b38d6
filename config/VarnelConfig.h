// The configuration: read once from a file, then only read.
#ifndef CONFIG_VARNELCONFIG_H
#define CONFIG_VARNELCONFIG_H

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "config/ConfiguredFiles.h"
#include "config/VarnelConfigException.h"

/// Everything that the tool learns from its configuration file. What goes from line to line stands
/// in processLine.cpp, what becomes of the files that are named in ConfiguredFiles.h. The parser
/// keeps its progress in function-static variables, so a process reads one configuration.
class VarnelConfig {
 public:
  enum splitByEnum {
    splitByHash = 1,  ///< "numservers" or "rdnhash"
    splitByNone = 3,  ///< no "splitby" seen
  };

  /// One server: what its "url" line and its "file" line say, in this order, each as a pair (key,
  /// value). Two empty texts where a line is missing. The keys of these lines are the token keys.
  using TokenRecord = std::vector<std::pair<std::string, std::string>>;

  static constexpr int splitOnly = 0;     ///< actionType_: "splitonly"
  static constexpr int noActionType = 3;  ///< actionType_: no "actiontype" seen

  /// Takes a fault of the configuration.
  using FaultReceiver = std::function<void(const VarnelConfigException&)>;

  /// Sets the defaults. `recovery`: the configured log and output files must already exist.
  VarnelConfig(std::string configFile, bool recovery);

  /// For those who want to know of a configuration without a split: `files` say what becomes of the
  /// files that it names, and each fault goes to `receiver` and not through init(), which reads on
  /// behind it as if the line were not there. A faulty "basedn" opens a section all the same, under
  /// a name that isOfFaultyLine() knows. Only a file that cannot be read ends init() then, with the
  /// exception.
  VarnelConfig(std::string configFile, std::shared_ptr<ConfiguredFiles> files,
               FaultReceiver receiver);

  /// Reads and validates the file; creates, empties and tests the files that it names on the way.
  /// Throws VarnelConfigException, its catalog message printed; the object must not be used then,
  /// and files already created or emptied stay so. Warns of what is allowed and seldom meant.
  void init();

  /// Whether a base DN of baseDNlist() stands for a "basedn" line that could not be used.
  static bool isOfFaultyLine(const std::string& baseDN);

  /// The base DNs, normalised, in ascending byte order.
  std::vector<std::string> baseDNlist() const;

  /// The split method of a base DN; splitByNone where it is not configured.
  splitByEnum getSplitType(std::string baseDN) const;

  /// Checks that the lines of a section are complete, that is, that all token keys occurred equally
  /// often. `counts` tells how often each of `tokenKeys` did; it is empty for a section without any
  /// such line. Returns true, or throws the fault that a key is missing, with `line`.
  bool validateNumTokensList(const std::vector<int>& counts, std::vector<std::string>* tokenKeys,
                             int line) const;

  /// Called for every line of the file; accepts everything.
  void checkInvariants(std::string key, std::string value, int line) const;

  /// The checks behind the last line. Creates the default output file where none is configured, and
  /// the log file.
  void checkFinalInvariants() const;

  /// Takes one key and value of the file: before the first "basedn" a key that holds for all, from
  /// there on a line of a section, which goes to processBaseDNSection().
  void processLine(std::string key, std::string value, int line);

  /// Takes a "basedn", which opens a section, or a line of the open section. `method` is what
  /// "splitby" says so far.
  void processBaseDNSection(std::string key, std::string value, int line, splitByEnum method);

  bool recovery_;
  std::string logFile_;
  int actionType_ = noActionType;
  std::string baseDir_;   ///< where file names without a slash are looked up
  std::string cwd_;       ///< working directory; baseDir_ differs once one is configured
  std::string reserved_;  ///< no key sets it; handed to the split, which does not read it
  std::string defaultOutputFile_;
  std::string configFile_;
  std::string inputFile_;
  int lineCount_ = 0;  ///< after init: lines read plus one
  /// For each base DN, normalised, the records of its servers, and behind them a spare one of empty
  /// pairs. A base DN without any token line has one record without pairs.
  std::map<std::string, std::vector<TokenRecord>> baseDNSections_;
  std::map<std::string, splitByEnum> splitTypes_;
  std::vector<std::string> tokenKeys_;
  /// How often each token key occurred in the last section that had any.
  std::vector<int> numTokens_;
  /// The keys that numTokens_ counts. This points into the object that read the file: copies must
  /// not outlive it.
  std::vector<std::string>* currentTokenKeys_ = nullptr;
  int lastLine_ = 0;          ///< the number of the line read last
  std::string lastLineText_;  ///< that line as it stands in the file

 private:
  void readLines();
  void readLine(const std::string& text, int number);
  void openSectionOfFaultyLine(int number);
  void attempt(const std::function<void()>& step) const;
  void addFilesOfDefaultNames();
  void warnOfRepeatedUrls() const;
  void setActionType(const std::string& key, std::string value, int line);
  void setInputFile(std::string value, int line);
  void setLogFile(std::string value, int line);
  void setDefaultOutputFile(std::string value, int line);
  void setBaseDirectory(const std::string& value, int line);

  std::shared_ptr<ConfiguredFiles> files_;
  FaultReceiver receiveFault_;  // without one, a fault ends init()
};

#endif
