#include "config/WhitespacePredicate.h"

#include <cctype>

bool WhitespacePredicate::operator()(char c) const {
  return std::isspace(static_cast<unsigned char>(c)) != 0;
}
