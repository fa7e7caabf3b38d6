// Prepares one text a line, for string_prep_compare.py. A line of standard input is
// "CASE HANDLING HEX": `keep` or `upper`; `spaces`, `numeric` or `telephone`; the text's bytes in
// hexadecimal, after one blank even where there are none. The answer is a line of hexadecimal, or
// "ill-formed".
#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <memory_resource>
#include <optional>
#include <string>
#include <string_view>

#include "platform/dirclient/string_prep.h"

namespace {

using dirclient::Insignificant;
using dirclient::LetterCase;

constexpr std::string_view digits = "0123456789abcdef";

struct Request {
  LetterCase letterCase;
  Insignificant insignificant;
  std::string text;
};

std::string_view takeWord(std::string_view& line) {
  const std::size_t end = std::min(line.find(' '), line.size());
  const std::string_view word = line.substr(0, end);
  line.remove_prefix(std::min(end + 1, line.size()));
  return word;
}

std::optional<LetterCase> letterCaseOf(std::string_view name) {
  if (name == "keep") {
    return LetterCase::keep;
  }
  return name == "upper" ? std::optional(LetterCase::upper) : std::nullopt;
}

std::optional<Insignificant> insignificantOf(std::string_view name) {
  if (name == "spaces") {
    return Insignificant::spaces;
  }
  if (name == "numeric") {
    return Insignificant::numericString;
  }
  return name == "telephone" ? std::optional(Insignificant::telephoneNumber) : std::nullopt;
}

std::optional<std::string> bytesOf(std::string_view hex) {
  std::string bytes;
  for (; hex.size() >= 2; hex.remove_prefix(2)) {
    const std::size_t high = digits.find(hex[0]);
    const std::size_t low = digits.find(hex[1]);
    if (high == std::string_view::npos || low == std::string_view::npos) {
      return std::nullopt;
    }
    bytes += static_cast<char>(high << 4U | low);
  }
  return hex.empty() ? std::optional(bytes) : std::nullopt;
}

std::optional<Request> requestOf(std::string_view line) {
  const auto letterCase = letterCaseOf(takeWord(line));
  const auto insignificant = insignificantOf(takeWord(line));
  const auto text = bytesOf(line);
  if (!letterCase || !insignificant || !text) {
    return std::nullopt;
  }
  return Request{*letterCase, *insignificant, *text};
}

std::string answerTo(const Request& request) {
  std::pmr::string prepared;
  if (!dirclient::prepareString(request.text, request.letterCase, request.insignificant,
                                prepared)) {
    return "ill-formed";
  }
  std::string hex;
  for (const char c : prepared) {
    const auto byte = static_cast<unsigned char>(c);
    hex += digits[byte >> 4U];
    hex += digits[byte & 0xFU];
  }
  return hex;
}

}  // namespace

int main() {
  std::ios::sync_with_stdio(false);
  std::string line;
  while (std::getline(std::cin, line)) {
    const std::optional<Request> request = requestOf(line);
    if (!request) {
      std::cerr << "no request: " << line << '\n';
      return EXIT_FAILURE;
    }
    std::cout << answerTo(*request) << '\n';
  }
  return std::cout.flush() ? EXIT_SUCCESS : EXIT_FAILURE;
}
