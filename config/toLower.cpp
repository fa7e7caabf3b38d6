#include "config/toLower.h"

#include <cctype>

void toLower(char& c) {
  c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}
