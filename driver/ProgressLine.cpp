#include "driver/ProgressLine.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

#include "driver/sizeText.h"

namespace {

constexpr std::chrono::milliseconds shortestPause(200);
constexpr std::size_t barWidth = 20;

std::string durationText(std::uint64_t seconds) {
  constexpr std::uint64_t minute = 60;
  if (seconds < minute) {
    return std::to_string(seconds) + " s";
  }
  return std::to_string(seconds / minute) + " min " + std::to_string(seconds % minute) + " s";
}

/// `done` hundredths of a bar.
std::string barOf(unsigned int percent) {
  constexpr unsigned int whole = 100;
  const std::size_t full = barWidth * percent / whole;
  return "[" + std::string(full, '#') + std::string(barWidth - full, '.') + "]";
}

std::string inThreeColumns(unsigned int number) {
  const std::string digits = std::to_string(number);
  return std::string(3 - std::min<std::size_t>(digits.size(), 3), ' ') + digits;
}

}  // namespace

ProgressLine::ProgressLine(std::FILE* terminal, Clock::time_point start)
    : terminal_(terminal), start_(start), next_(start) {}

void ProgressLine::show(std::uint64_t done, std::uint64_t total, Clock::time_point now) {
  if (now < next_) {
    return;
  }
  next_ = now + shortestPause;
  const std::string text = textOf(done, total, now).substr(0, width());
  const std::string rest(shown_ > text.size() ? shown_ - text.size() : 0, ' ');
  std::fprintf(terminal_, "\r%s%s", text.c_str(), rest.c_str());
  std::fflush(terminal_);
  shown_ = text.size();
}

std::string ProgressLine::textOf(std::uint64_t done, std::uint64_t total,
                                 Clock::time_point now) const {
  constexpr double whole = 100;
  const double seconds = std::chrono::duration<double>(now - start_).count();
  const double rate = seconds > 0 ? static_cast<double>(done) / seconds : 0;
  const std::string speed = sizeText(static_cast<std::uint64_t>(rate)) + "/s";
  if (total == 0) {
    return sizeText(done) + "  " + speed;
  }
  const std::uint64_t at = std::min(done, total);
  const auto percent =
      static_cast<unsigned int>(whole * static_cast<double>(at) / static_cast<double>(total));
  std::string text = barOf(percent) + " " + inThreeColumns(percent) + " %  " + sizeText(at) +
                     " of " + sizeText(total) + "  " + speed;
  if (rate >= 1) {
    const double left = static_cast<double>(total - at) / rate;
    text += "  " + durationText(static_cast<std::uint64_t>(left)) + " left";
  }
  return text;
}

/// The columns that may be used: in the last one some terminals begin a new line.
std::size_t ProgressLine::width() const {
  constexpr std::size_t usual = 80;
  struct winsize size {};
  const bool isKnown = ::ioctl(::fileno(terminal_), TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
  return (isKnown ? size.ws_col : usual) - 1;
}

void ProgressLine::clear() {
  if (shown_ > 0) {
    std::fprintf(terminal_, "\r%s\r", std::string(shown_, ' ').c_str());
    std::fflush(terminal_);
    shown_ = 0;
  }
}

bool isTerminal(std::FILE* stream) {
  return ::isatty(::fileno(stream)) == 1;
}
