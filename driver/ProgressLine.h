// How far a long run is, for those who watch it.
#ifndef DRIVER_PROGRESSLINE_H
#define DRIVER_PROGRESSLINE_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

/// A line on a terminal that is written anew again and again, at most five times a second: a bar,
/// how much is done, how long the rest will take, how fast it goes. It is never wider than the
/// terminal: the bar is as long as there is room, and what has no room at the end of the line is
/// left out, a figure as a whole. Below 20 columns there is no line. Its texts are messages 75 and
/// 76 without their identifiers, in ASCII.
///
/// show() writes nothing in a process in the background, nor to a terminal that takes nothing at
/// the time: the run does not wait for it.
class ProgressLine {
 public:
  using Clock = std::chrono::steady_clock;

  struct Done {
    std::uint64_t bytes;    ///< of the input
    std::uint64_t total;    ///< in bytes; 0: not known
    std::uint64_t entries;  ///< of the input
  };

  /// Nothing is written yet. The stream stays the caller's. `start`: when the run began.
  explicit ProgressLine(std::FILE* terminal, Clock::time_point start = Clock::now());
  ~ProgressLine() { clear(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  /// Writes the line unless it was written just before.
  void show(const Done& done, Clock::time_point now = Clock::now());

  /// Leaves the cursor at the start of an empty line, for other output.
  void clear();

 private:
  std::string textOf(const Done& done, Clock::time_point now, std::size_t width) const;
  bool isFree() const;

  std::FILE* terminal_;
  const Clock::time_point start_;
  Clock::time_point next_;  // not before then
  std::size_t shown_ = 0;   // columns of the line that stands there
};

#endif
