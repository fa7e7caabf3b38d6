#include "driver/ProgressLine.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>

#include "driver/sizeText.h"
#include "driver/terminalWidth.h"
#include "platform/messages/PrintMessage.h"

namespace {

constexpr std::chrono::milliseconds shortestPause(200);
constexpr std::size_t narrowest = 20;
constexpr std::size_t longestBar = 20;
constexpr std::size_t shortestBar = 5;
constexpr const char* const betweenFigures = "  ";

std::string durationText(std::uint64_t seconds) {
  constexpr std::uint64_t minute = 60;
  constexpr std::uint64_t hour = 60 * minute;
  if (seconds < minute) {
    return std::to_string(seconds) + " s";
  }
  if (seconds < hour) {
    return std::to_string(seconds / minute) + " min " + std::to_string(seconds % minute) + " s";
  }
  return std::to_string(seconds / hour) + " h " + std::to_string(seconds % hour / minute) + " min";
}

/// With a blank behind it; nothing where the room is too small.
std::string barOf(unsigned int percent, std::size_t room) {
  constexpr std::size_t frame = 3;
  if (room < shortestBar + frame) {
    return "";
  }
  constexpr unsigned int whole = 100;
  const std::size_t length = std::min(longestBar, room - frame);
  const std::size_t full = length * percent / whole;
  return "[" + std::string(full, '#') + std::string(length - full, '.') + "] ";
}

std::string inThreeColumns(unsigned int number) {
  const std::string digits = std::to_string(number);
  return std::string(3 - std::min<std::size_t>(digits.size(), 3), ' ') + digits;
}

/// The figures at the front of the text that fit.
std::string fitting(const std::string& text, std::size_t width) {
  if (text.size() <= width) {
    return text;
  }
  const std::size_t end = text.rfind(betweenFigures, width);
  return text.substr(0, end != std::string::npos ? end : 0);
}

}  // namespace

ProgressLine::ProgressLine(std::FILE* terminal, Clock::time_point start)
    : terminal_(terminal), start_(start), next_(start) {}

void ProgressLine::show(const Done& done, Clock::time_point now) {
  if (now < next_) {
    return;
  }
  next_ = now + shortestPause;
  if (!isFree()) {
    return;
  }
  const std::size_t width = terminalWidth(terminal_);
  if (width + 1 < narrowest) {
    clear();
    return;
  }
  const std::string text = textOf(done, now, width);
  // A terminal that became narrower has wrapped what stood there; more would wrap again.
  const std::size_t before = std::min(shown_, width);
  const std::string rest(before > text.size() ? before - text.size() : 0, ' ');
  std::fprintf(terminal_, "\r%s%s", text.c_str(), rest.c_str());
  std::fflush(terminal_);
  shown_ = text.size();
}

std::string ProgressLine::textOf(const Done& done, Clock::time_point now, std::size_t width) const {
  constexpr double whole = 100;
  const double seconds = std::chrono::duration<double>(now - start_).count();
  const double rate = seconds > 0 ? static_cast<double>(done.bytes) / seconds : 0;
  const std::string speed = sizeText(static_cast<std::uint64_t>(rate));
  const std::string entries = std::to_string(done.entries);
  if (done.total == 0) {
    const std::string size = sizeText(done.bytes);
    return fitting(messageText(32, 1, 76, size.c_str(), speed.c_str(), entries.c_str()), width);
  }
  const std::uint64_t at = std::min(done.bytes, done.total);
  const auto percent =
      static_cast<unsigned int>(whole * static_cast<double>(at) / static_cast<double>(done.total));
  const double left = rate >= 1 ? static_cast<double>(done.total - at) / rate : 0;
  const std::string time =
      rate >= 1 ? durationText(static_cast<std::uint64_t>(left)) : std::string("?");
  const std::string text = messageText(
      32, 1, 75, (inThreeColumns(percent) + " %").c_str(), time.c_str(), sizeText(at).c_str(),
      sizeText(done.total).c_str(), speed.c_str(), entries.c_str());
  const std::string figures = fitting(text, width);
  return barOf(percent, width - figures.size()) + figures;
}

/// Whether a line may be written: not over what others do in the foreground, and not where writing
/// would wait.
bool ProgressLine::isFree() const {
  const int file = ::fileno(terminal_);
  if (file < 0) {
    return true;
  }
  const pid_t foreground = ::tcgetpgrp(file);
  if (foreground > 0 && foreground != ::getpgrp()) {
    return false;
  }
  struct pollfd asked {};
  asked.fd = file;
  asked.events = POLLOUT;
  return ::poll(&asked, 1, 0) == 1 && (asked.revents & POLLOUT) != 0;
}

void ProgressLine::clear() {
  if (shown_ > 0) {
    const std::size_t size = std::min(shown_, terminalWidth(terminal_));
    std::fprintf(terminal_, "\r%s\r", std::string(size, ' ').c_str());
    std::fflush(terminal_);
    shown_ = 0;
  }
}
