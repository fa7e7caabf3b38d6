// How far a long run is, for those who watch it.
#ifndef DRIVER_PROGRESSLINE_H
#define DRIVER_PROGRESSLINE_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

/// A line on a terminal that is written anew again and again, at most five times a second: a bar,
/// how much is done, how fast, and how long the rest will take. It is never wider than the
/// terminal.
class ProgressLine {
 public:
  using Clock = std::chrono::steady_clock;

  /// Nothing is written yet. The stream stays the caller's. `start`: when the run began.
  explicit ProgressLine(std::FILE* terminal, Clock::time_point start = Clock::now());
  ~ProgressLine() { clear(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  /// Writes the line unless it was written just before. `done` of `total` bytes are done; a total
  /// of 0 is not known.
  void show(std::uint64_t done, std::uint64_t total, Clock::time_point now = Clock::now());

  /// Leaves the cursor at the start of an empty line, for other output.
  void clear();

 private:
  std::string textOf(std::uint64_t done, std::uint64_t total, Clock::time_point now) const;
  std::size_t width() const;

  std::FILE* terminal_;
  const Clock::time_point start_;
  Clock::time_point next_;  // not before then
  std::size_t shown_ = 0;   // columns of the line that stands there
};

/// Whether somebody can see what is written to the stream.
bool isTerminal(std::FILE* stream);

#endif
