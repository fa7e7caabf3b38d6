#include "ldifsplit/SplitObserver.h"

#include "ldifsplit/LdifSplitException.h"
#include "ldifsplit/openNewLdif.h"

namespace ldifsplit {

AutoClose SplitObserver::openInput(const std::string& name) {
  return AutoClose(std::fopen(name.c_str(), "r"));
}

std::FILE* SplitObserver::openOutput(const std::string& name, char* buffer, std::size_t size) {
  return openNewLdif<LdifSplitException>(name.c_str(), buffer, size);
}

}  // namespace ldifsplit
