// A split whose files are thrown away.
#ifndef ADMIN_DISCARDINGOBSERVER_H
#define ADMIN_DISCARDINGOBSERVER_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>

#include "actors/LdifActor.h"
#include "admin/InputOpener.h"
#include "admin/exitStatus.h"
#include "common/AutoClose.h"
#include "ldifsplit/SplitObserver.h"

/// Runs the engine of a split over a file that may be compressed, and discards what it writes; a
/// derived class looks at it. Lines that would end a split are passed over.
class DiscardingObserver : public ldifsplit::SplitObserver {
 public:
  /// What no split can go on behind.
  enum class Stop {
    none,
    emptyInput,
    unwritableLine,  ///< it has no type
    noFile,          ///< of a DN
  };

  /// How far the engine came.
  struct End {
    Stop stop;
    int line;         ///< where it stopped; 0: at none in particular
    std::string why;  ///< and why

    bool isWhole() const { return stop == Stop::none; }
  };

  /// Goes through the file. Throws SystemError where it cannot be read, or not be unpacked whole.
  End run(const std::string& file, const std::map<std::string, LdifActor*>& actors,
          const std::string& defaultOutputFile);

  AutoClose openInput(const std::string& name) override;
  std::FILE* openOutput(const std::string& name, char* buffer, std::size_t size) override;
  bool goesOnBehind(const ldifsplit::UnusableLine& line) final;

  /// How many bytes the file has by itself, compressed as it may be.
  std::uint64_t inputSize() const { return input_.size(); }

 protected:
  /// A line that would have ended a split.
  virtual void passesOver(const ldifsplit::UnusableLine& /*line*/) {}

  /// Ends the run: run() throws the error. No other exception may leave a function that the engine
  /// calls.
  [[noreturn]] void fail(const SystemError& error);

 private:
  InputOpener input_;
  std::string failure_;  // of fail(); empty: none
};

#endif
