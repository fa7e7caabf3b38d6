#include "driver/sizeText.h"

#include <cstddef>

std::string sizeText(std::uint64_t bytes) {
  constexpr const char* units[] = {"B", "kB", "MB", "GB", "TB", "PB", "EB"};
  constexpr std::uint64_t step = 1000;
  constexpr std::uint64_t fewestWithoutTenth = 100;
  if (bytes < step) {
    return std::to_string(bytes) + " B";
  }
  std::size_t unit = 1;
  std::uint64_t tenths = bytes / (step / 10);
  for (; tenths >= step * 10; tenths /= step) {
    ++unit;
  }
  const std::uint64_t whole = tenths / 10;
  const std::string tenth =
      whole < fewestWithoutTenth ? "." + std::to_string(tenths % 10) : std::string();
  return std::to_string(whole) + tenth + " " + units[unit];
}
