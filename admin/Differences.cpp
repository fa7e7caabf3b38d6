#include "admin/Differences.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <numeric>
#include <utility>

#include "admin/jsonText.h"
#include "platform/text/onOneLine.h"

const char* nameOf(Difference::Kind kind) {
  switch (kind) {
    case Difference::unusableLine:
      return "unusable_line";
    case Difference::missingFile:
      return "missing_file";
    case Difference::header:
      return "header";
    case Difference::truncated:
      return "truncated";
    case Difference::changed:
      return "changed";
    case Difference::misplaced:
      return "misplaced";
    case Difference::outOfOrder:
      return "out_of_order";
    case Difference::doubled:
      return "doubled";
    case Difference::missing:
      return "missing";
    case Difference::foreign:
      return "foreign";
    case Difference::doubledInInput:
      return "doubled_in_input";
  }
  return "";
}

void Differences::add(Difference difference) {
  ++counts_[difference.kind];
  if (kept_.size() < limit_) {
    kept_.push_back(std::move(difference));
  }
}

std::uint64_t Differences::total() const {
  return std::accumulate(std::begin(counts_), std::end(counts_), std::uint64_t{0});
}

bool Differences::none() const {
  return total() == 0;
}

void Differences::print() const {
  for (const Difference& difference : kept_) {
    std::string line = text::onOneLine(difference.file) + ":";
    if (difference.line > 0) {
      line += std::to_string(difference.line) + ":";
    }
    line += std::string(" ") + nameOf(difference.kind);
    for (const std::string* part : {&difference.dn, &difference.expected}) {
      if (!part->empty()) {
        line += ", " + text::onOneLine(*part);
      }
    }
    if (difference.inputLine > 0) {
      line += " of line " + std::to_string(difference.inputLine) + " of the input";
    }
    std::printf("%s\n", line.c_str());
  }
  if (total() > kept_.size()) {
    std::printf("and %" PRIu64 " more\n", total() - kept_.size());
  }
}

void Differences::printSummary(const std::string& what, bool isExact) const {
  std::printf("%s: %s", what.c_str(), none() ? "all right" : isExact ? "" : "at least ");
  const char* separator = "";
  for (std::size_t i = 0; i < Difference::kinds; ++i) {
    if (counts_[i] > 0) {
      std::printf("%s%" PRIu64 " %s", separator, counts_[i],
                  nameOf(static_cast<Difference::Kind>(i)));
      separator = ", ";
    }
  }
  std::printf("\n");
}

void Differences::addTo(nlohmann::ordered_json& result) const {
  nlohmann::ordered_json counts = nlohmann::ordered_json::object();
  for (std::size_t i = 0; i < Difference::kinds; ++i) {
    counts[nameOf(static_cast<Difference::Kind>(i))] = counts_[i];
  }
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const Difference& difference : kept_) {
    list.push_back({{"kind", nameOf(difference.kind)},
                    {"file", difference.file},
                    {"line", difference.line},
                    {"dn", difference.dn},
                    {"expected", difference.expected},
                    {"input_line", difference.inputLine}});
  }
  result["counts"] = counts;
  result["differences"] = list;
  result["more"] = total() - kept_.size();
}

void printJson(const nlohmann::ordered_json& result) {
  std::printf("%s\n", jsonText(result).c_str());
}
