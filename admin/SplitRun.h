// One split of varnelctl: all files, or none.
#ifndef ADMIN_SPLITRUN_H
#define ADMIN_SPLITRUN_H

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <map>
#include <string>
#include <vector>

#include "actors/LdifActor.h"
#include "admin/ConfigurationReading.h"
#include "admin/InputOpener.h"
#include "admin/StagedFiles.h"
#include "admin/StopSignals.h"
#include "admin/exitStatus.h"
#include "driver/ProgressLine.h"
#include "ldifsplit/SplitObserver.h"

/// Splits into files beside the wanted ones, which get their names at the end. An output that is a
/// device or a pipe is written directly. A process makes one.
class SplitRun : public ldifsplit::SplitObserver {
 public:
  /// `replace`: existing output files give way. `isWatched`: a progress line and a table of shares
  /// are wanted on standard error. The configuration has to be usable, and to outlive the run.
  SplitRun(ConfigurationReading& reading, bool replace, bool isWatched);
  ~SplitRun() override;

  /// Says on standard error what went wrong, and what varnel would warn of. Throws SystemError
  /// where that says it all. Unless the status is good, no file is there that was not there before,
  /// and none is changed.
  ExitStatus run();

  AutoClose openInput(const std::string& name) override;
  std::FILE* openOutput(const std::string& name, char* buffer, std::size_t size) override;
  void startsRecord(const ldifsplit::SplitRecord& record) override;
  void hasRead(std::uint64_t bytes, std::uint64_t records) override;
  void ended(const std::vector<ldifsplit::FileCounts>& files) override;
  bool goesOnBehind(const ldifsplit::UnusableLine& line) override;

 private:
  /// What a file gets.
  struct Share {
    std::uint64_t entries = 0;
    std::uint64_t bytes = 0;
  };

  void stage();
  ExitStatus split(const std::map<std::string, LdifActor*>& actors);
  ExitStatus stop(int line, const std::string& why, ExitStatus status);
  ExitStatus stopForInput(int line);
  void openUnusedStreams();
  ExitStatus publish();
  void say(const std::string& line);
  void printShares() const;
  void undo(int signal);
  [[noreturn]] static void endUnexpectedly();

  ConfigurationReading& reading_;
  const VarnelConfig& config_;
  const bool isWatched_;
  StagedFiles files_;
  ProgressLine progress_;
  std::vector<std::string> outputs_;     // each name once
  std::map<std::string, bool> streams_;  // devices and pipes; whether they were opened
  InputOpener input_;
  std::string unusableLine_;  // what is wrong with it; empty: there is none
  std::atomic<int> line_;     // where the split is, for the other thread
  std::map<std::string, Share> shares_;
  std::terminate_handler before_ = nullptr;
  StopSignals signals_;  // the last one: its thread uses the others
};

#endif
