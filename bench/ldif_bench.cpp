// Bytes a second of the LDIF line parser, and of the look at a line that spares most lines the
// parser. The parser works in place, so every line is copied for it first; the copy is in the time.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "platform/ldif/ldifLineKind.h"
#include "platform/ldif/str_parse_line_v_or_bv.h"

namespace {

void parseLine(benchmark::State& state, const std::string& line) {
  std::string copy = line;
  for (auto _ : state) {
    std::memcpy(copy.data(), line.c_str(), line.size() + 1);
    char* type = nullptr;
    char* value = nullptr;
    int valueLength = 0;
    char* url = nullptr;
    int encoding = 0;
    benchmark::DoNotOptimize(
        str_parse_line_v_or_bv(copy.data(), &type, &value, &valueLength, 1, &url, &encoding));
    benchmark::DoNotOptimize(value);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(line.size()));
}

const std::string ordinaryLine =
    "description: Keeps the timetable of the ferries; spare keys in the office\n";
const std::string shortLine = "sn: Diallo\n";
const std::string dnLine = "dn: uid=user123456,ou=people,dc=example,dc=com\n";

std::string foldedLine() {
  std::string line = "description: ";
  for (int i = 0; i < 20; ++i) {
    line += std::string(70, 'x') + "\n ";
  }
  return line + "end\n";
}

/// Folded at 76, of so many physical lines and one short one.
std::string base64Line(int physicalLines = 20) {
  std::string line = "jpegPhoto:: ";
  for (int i = 0; i < physicalLines; ++i) {
    line += "/9j/4AAQSkZJRgABAQAAAQABAAD/2wBDAAMCAgICAgMCAgIDAwMDBAYEBAQEBAgGBgUGCQgK\n ";
  }
  return line + "AAAA\n";
}

/// What a split does with the lines of an entry before it copies them. They stand together, as in
/// its input.
void checkLines(benchmark::State& state, const std::vector<std::string>& lines) {
  std::string input;
  for (const std::string& line : lines) {
    input += line;
  }
  input.resize(input.size() + ldifLinePadding);
  for (auto _ : state) {
    const char* at = input.data();
    for (const std::string& line : lines) {
      if (!isOrdinaryAttributeLine(at) &&
          ldifLineKind(at, line.size()) != LdifLineKind::attribute) {
        state.SkipWithError("not a good line");
        return;
      }
      at += line.size();
    }
  }
  state.SetBytesProcessed(state.iterations() *
                          static_cast<std::int64_t>(input.size() - ldifLinePadding));
}

/// Of 30 bytes each, under the types that directories of people are full of; too many and in too
/// little order for the processor to foresee the next type.
std::vector<std::string> linesOf30Bytes() {
  const std::vector<std::string> types = {
      "objectClass", "uid",         "cn",           "sn", "givenName",  "mail", "telephoneNumber",
      "title",       "description", "employeeType", "l",  "postalCode", "ou",   "cn;lang-en"};
  std::minstd_rand numbers;
  std::vector<std::string> lines;
  for (int i = 0; i < 10000; ++i) {
    std::string line = types[numbers() % types.size()] + ": Keeps the timetable of the ferries";
    line.resize(29);
    lines.push_back(line + "\n");
  }
  return lines;
}

BENCHMARK_CAPTURE(checkLines, ordinary30, linesOf30Bytes());
BENCHMARK_CAPTURE(checkLines, foldedBase64, std::vector<std::string>{base64Line(400)});
BENCHMARK_CAPTURE(parseLine, ordinary, ordinaryLine);
BENCHMARK_CAPTURE(parseLine, short, shortLine);
BENCHMARK_CAPTURE(parseLine, dn, dnLine);
BENCHMARK_CAPTURE(parseLine, folded, foldedLine());
BENCHMARK_CAPTURE(parseLine, base64, base64Line());

}  // namespace
