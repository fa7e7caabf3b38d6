#include "actors/generateOutputFilename.h"

#include <cstdio>

const char* const defaultLdifPrefix = "server";
const char* const defaultLdifSuffix = ".ldif";

namespace nLdifActor {

std::string generateOutputFilename(int n) {
  char number[3];
  // A third character is cut off: the names keep one width.
  const int length = std::snprintf(number, sizeof number, "%.2d", n);
  return length < 0 ? std::string() : std::string(defaultLdifPrefix) + number + defaultLdifSuffix;
}

}  // namespace nLdifActor
