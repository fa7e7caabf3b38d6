// Bytes a second of the LDIF line parser. It works in place, so every line is copied for it first;
// the copy is in the time.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstring>
#include <string>

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

std::string base64Line() {
  std::string line = "jpegPhoto:: ";
  for (int i = 0; i < 20; ++i) {
    line += "/9j/4AAQSkZJRgABAQAAAQABAAD/2wBDAAMCAgICAgMCAgIDAwMDBAYEBAQEBAgGBgUGCQgK\n ";
  }
  return line + "AAAA\n";
}

BENCHMARK_CAPTURE(parseLine, ordinary, ordinaryLine);
BENCHMARK_CAPTURE(parseLine, short, shortLine);
BENCHMARK_CAPTURE(parseLine, dn, dnLine);
BENCHMARK_CAPTURE(parseLine, folded, foldedLine());
BENCHMARK_CAPTURE(parseLine, base64, base64Line());

}  // namespace
