// The configuration: read once from a file, then only read.
#ifndef CONFIG_VARNELCONFIG_H
#define CONFIG_VARNELCONFIG_H

#include <map>
#include <string>
#include <utility>
#include <vector>

/// Everything that the tool learns from its configuration file. The parser keeps its progress in
/// function-static variables, so a process reads one configuration.
class VarnelConfig {
 public:
  enum splitByEnum {
    splitByHash = 1,  ///< "numservers" or "rdnhash"
    splitByNone = 3,  ///< no "splitby" seen
  };

  /// One server: one (key, value) pair for each token key, in their order; an empty pair where the
  /// line is missing.
  using TokenRecord = std::vector<std::pair<std::string, std::string>>;

  static constexpr int splitOnly = 0;     ///< actionType_: "splitonly"
  static constexpr int noActionType = 3;  ///< actionType_: no "actiontype" seen

  /// Sets the defaults. `recovery`: the configured log and output files must already exist.
  VarnelConfig(std::string configFile, bool recovery);

  /// Reads and validates the file; creates, empties and tests the files that it names on the way.
  /// Throws VarnelConfigException, its catalog message printed; the object must not be used then,
  /// and files already created or emptied stay so.
  void init();

  /// The base DNs, normalised, in ascending byte order.
  std::vector<std::string> baseDNlist() const;

  /// The split method of a base DN; splitByNone where it is not configured.
  splitByEnum getSplitType(std::string baseDN) const;

  /// Checks that every token key occurred equally often in a section: true, or the missing key is
  /// thrown with `line`.
  bool validateNumTokensList(const std::vector<int>& counts, std::vector<std::string>* tokenKeys,
                             int line) const;

  /// Called for every line of the file; accepts everything.
  void checkInvariants(std::string key, std::string value, int line) const;

  /// The checks behind the last line. Creates the default output file where none is configured, and
  /// the log file.
  void checkFinalInvariants() const;

  /// Takes one key and value: a global key, or from the first "basedn" on a line of a section.
  void processLine(std::string key, std::string value, int line);
  void processBaseDNSection(std::string key, std::string value, int line, splitByEnum method);

  bool recovery_;
  std::string logFile_;
  int actionType_ = noActionType;
  std::string baseDir_;   ///< where file names without a slash are looked up
  std::string cwd_;       ///< tells whether baseDir_ was configured
  std::string reserved_;  ///< no key sets it; handed to the split, which does not read it
  std::string defaultOutputFile_;
  std::string configFile_;
  std::string inputFile_;
  int lineCount_ = 0;  ///< after init: lines read plus one
  /// By normalised base DN its servers, and one spare record of empty pairs behind the last.
  std::map<std::string, std::vector<TokenRecord>> baseDNSections_;
  std::map<std::string, splitByEnum> splitTypes_;
  std::vector<std::string> tokenKeys_;
  std::vector<int> numTokens_;  ///< counts of the token keys in the last section that had any
  /// The keys that numTokens_ counts: the tokenKeys_ of the object that read the file, which has to
  /// outlive its copies.
  std::vector<std::string>* currentTokenKeys_ = nullptr;

 private:
  void readLines();
  void setActionType(const std::string& key, std::string value, int line);
  void setInputFile(std::string value, int line);
  void setLogFile(std::string value, int line);
  void setDefaultOutputFile(std::string value, int line);
  void setBaseDirectory(const std::string& value, int line);
  void prepareServerFile(std::string& value, int line) const;
  void prepareDefaultOutputFile() const;
};

#endif
