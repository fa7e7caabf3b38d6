#include "driver/ShareTable.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "driver/sizeText.h"
#include "platform/text/onOneLine.h"

namespace {

constexpr std::size_t barWidth = 20;
constexpr std::size_t columns = 5;

using Cells = std::array<std::string, columns>;

/// The columns that a UTF-8 text takes: all but the later bytes of a character count.
std::size_t widthOf(const std::string& text) {
  constexpr unsigned int kindMask = 0xC0;
  constexpr unsigned int laterByte = 0x80;
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & kindMask) != laterByte;
  }));
}

double shareOf(std::uint64_t bytes, std::uint64_t all) {
  return all > 0 ? static_cast<double>(bytes) / static_cast<double>(all) : 0;
}

std::string percentOf(double share) {
  constexpr double whole = 1000;
  const long tenths = std::lround(share * whole);
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " %";
}

std::string barOf(double share) {
  return std::string(static_cast<std::size_t>(std::lround(share * barWidth)), '#');
}

}  // namespace

void ShareTable::add(const std::string& file, std::uint64_t entries, std::uint64_t bytes) {
  rows_.push_back({file, entries, bytes});
}

std::string ShareTable::text() const {
  std::uint64_t all = 0;
  for (const Row& row : rows_) {
    all += row.bytes;
  }
  std::vector<Cells> lines = {{{"file", "entries", "size", "share", ""}}};
  for (const Row& row : rows_) {
    const double share = shareOf(row.bytes, all);
    lines.push_back({{text::onOneLine(row.file), std::to_string(row.entries), sizeText(row.bytes),
                      percentOf(share), barOf(share)}});
  }
  std::array<std::size_t, columns> widths{};
  for (const Cells& line : lines) {
    for (std::size_t i = 0; i < columns; ++i) {
      widths[i] = std::max(widths[i], widthOf(line[i]));
    }
  }
  std::string result;
  for (const Cells& line : lines) {
    for (std::size_t i = 0; i + 1 < columns; ++i) {
      const std::string blanks(widths[i] - widthOf(line[i]), ' ');
      result += i == 0 ? line[i] + blanks : "  " + blanks + line[i];
    }
    result += line.back().empty() ? "\n" : "  " + line.back() + "\n";
  }
  return result;
}
