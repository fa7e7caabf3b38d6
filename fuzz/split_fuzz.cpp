// How the split reads its input: the logical lines, one behind the other, are the bytes of the
// file, and each of them is a line with its folds and nothing more.

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "fuzz/require.h"
#include "ldifsplit/LineReader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const int memory = ::memfd_create("input", 0);
  std::FILE* file = ::fdopen(memory, "r+");
  require(file != nullptr, "there is a file in memory");
  require(::write(::fileno(file), data, size) == static_cast<ssize_t>(size), "it takes the input");
  std::rewind(file);

  ldifsplit::LineReader reader(file);
  std::string all;
  while (reader.readLine()) {
    while (reader.nextIsBlank()) {
      require(reader.appendLine(), "a blank that is there can be read");
    }
    const std::string line(reader.data(), reader.size());
    require(!line.empty(), "a line has a byte");
    // Every line feed inside is followed by the blank of a fold, or is the last byte.
    for (std::size_t at = line.find('\n'); at != std::string::npos; at = line.find('\n', at + 1)) {
      require(at + 1 == line.size() || line[at + 1] == ' ', "a logical line is one line and folds");
    }
    all += line;
  }
  require(reader.atEnd(), "reading ends at the end");
  require(all == input, "no byte is lost");
  std::fclose(file);
  return 0;
}
