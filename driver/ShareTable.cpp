#include "driver/ShareTable.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "driver/sizeText.h"
#include "platform/messages/PrintMessage.h"
#include "platform/text/onOneLine.h"

namespace {

constexpr std::size_t longestBar = 20;
constexpr std::size_t shortestBar = 8;
constexpr std::size_t shortestName = 16;  // beside a bar
constexpr std::size_t narrowestName = 8;
constexpr std::size_t gap = 2;
const char* const leftOut = "...";

enum Column : std::size_t { fileColumn, entriesColumn, sizeColumn, shareColumn, columnCount };

/// A line of the table: a heading, or the cells of a row.
struct Line {
  std::string heading;
  std::array<std::string, columnCount> cells;
  double bar = 0;  // the part of the longest one
};

using Widths = std::array<std::size_t, columnCount>;

bool isLaterByte(char c) {
  constexpr unsigned int kindMask = 0xC0;
  constexpr unsigned int laterByte = 0x80;
  return (static_cast<unsigned char>(c) & kindMask) == laterByte;
}

/// The columns that a UTF-8 text takes: all but the later bytes of a character count.
std::size_t widthOf(const std::string& text) {
  return text.size() -
         static_cast<std::size_t>(std::count_if(text.begin(), text.end(), isLaterByte));
}

std::string withoutEnd(const std::string& text, std::size_t width) {
  const std::size_t marked = widthOf(leftOut);
  if (widthOf(text) <= width || width <= marked) {
    return text;
  }
  std::size_t end = 0;
  for (std::size_t count = 0; end < text.size(); ++end) {
    if (!isLaterByte(text[end]) && count++ == width - marked) {
      break;
    }
  }
  return text.substr(0, end) + leftOut;
}

std::string withoutBeginning(const std::string& text, std::size_t width) {
  const std::size_t marked = widthOf(leftOut);
  if (widthOf(text) <= width || width <= marked) {
    return text;
  }
  std::size_t begin = text.size();
  for (std::size_t count = 0; count < width - marked; --begin) {
    count += isLaterByte(text[begin - 1]) ? 0U : 1U;
  }
  return leftOut + text.substr(begin);
}

double partOf(std::uint64_t bytes, std::uint64_t all) {
  return all > 0 ? static_cast<double>(bytes) / static_cast<double>(all) : 0;
}

std::string percentOf(double share) {
  constexpr double whole = 1000;
  const long tenths = std::lround(share * whole);
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " %";
}

Line headOf(std::string text) {
  const std::string separator = " | ";
  Line line;
  text += separator;
  std::size_t begin = 0;
  for (std::string& cell : line.cells) {
    const std::size_t end = text.find(separator, begin);
    cell = text.substr(begin, end - begin);
    begin = end + separator.size();
  }
  return line;
}

Widths widthsOf(const std::vector<Line>& lines) {
  Widths widths{};
  for (const Line& line : lines) {
    for (std::size_t i = 0; i < columnCount; ++i) {
      widths[i] = std::max(widths[i], widthOf(line.cells[i]));
    }
  }
  return widths;
}

/// Makes the names narrower where that is needed, and returns the length of the longest bar; 0:
/// there is none.
std::size_t fitIn(std::size_t width, Widths& widths) {
  std::size_t& names = widths[fileColumn];
  const std::size_t figures =
      widths[entriesColumn] + widths[sizeColumn] + widths[shareColumn] + (columnCount - 1) * gap;
  const std::size_t room = width > figures ? width - figures : 0;
  if (room >= std::min(names, shortestName) + gap + shortestBar) {
    const std::size_t wanted = names + gap;
    const std::size_t free = room > wanted ? room - wanted : 0;
    const std::size_t bar = std::min(longestBar, std::max(shortestBar, free));
    names = std::min(names, room - gap - bar);
    return bar;
  }
  names = std::min(names, std::max(room, narrowestName));
  return 0;
}

std::string rowOf(const Line& line, const Widths& widths, std::size_t bar) {
  std::array<std::string, columnCount> cells;
  for (std::size_t i = 0; i < columnCount; ++i) {
    const std::string cell =
        i == fileColumn ? withoutBeginning(line.cells[i], widths[i]) : line.cells[i];
    const std::string blanks(widths[i] - std::min(widths[i], widthOf(cell)), ' ');
    cells[i] = i == fileColumn ? cell + blanks : blanks + cell;
  }
  const std::string drawn(
      static_cast<std::size_t>(std::lround(line.bar * static_cast<double>(bar))), '#');
  const std::string row =
      messageText(32, 1, 78, cells[fileColumn].c_str(), cells[entriesColumn].c_str(),
                  cells[sizeColumn].c_str(), cells[shareColumn].c_str(), drawn.c_str());
  return row.substr(0, row.find_last_not_of(' ') + 1);
}

}  // namespace

void ShareTable::beginGroup(const std::string& heading) {
  groups_.push_back({heading, {}});
}

void ShareTable::add(const std::string& file, std::uint64_t entries, std::uint64_t bytes) {
  if (groups_.empty()) {
    beginGroup("");
  }
  groups_.back().rows.push_back({file, entries, bytes});
}

std::string ShareTable::text(std::size_t width) const {
  std::vector<Line> lines = {headOf(messageText(32, 1, 77))};
  for (const Group& group : groups_) {
    if (!group.heading.empty()) {
      lines.push_back({text::onOneLine(group.heading), {}, 0});
    }
    std::uint64_t all = 0;
    std::uint64_t largest = 0;
    for (const Row& row : group.rows) {
      all += row.bytes;
      largest = std::max(largest, row.bytes);
    }
    const std::string indent(group.heading.empty() ? 0 : gap, ' ');
    const bool isShared = group.rows.size() > 1;
    for (const Row& row : group.rows) {
      lines.push_back({"",
                       {{indent + text::onOneLine(row.file), std::to_string(row.entries),
                         sizeText(row.bytes), isShared ? percentOf(partOf(row.bytes, all)) : ""}},
                       isShared ? partOf(row.bytes, largest) : 0});
    }
  }
  Widths widths = widthsOf(lines);
  const std::size_t bar = fitIn(width, widths);
  std::string result;
  for (const Line& line : lines) {
    result += line.heading.empty() ? rowOf(line, widths, bar) : withoutEnd(line.heading, width);
    result += '\n';
  }
  return result;
}
