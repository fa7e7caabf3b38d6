#include "platform/dirclient/NormalText.h"

#include "platform/dirclient/NormalFormScan.h"

namespace dirclient {

NormalText::NormalText(std::string_view text, const schema::Schema* schema) : text_(text) {
  NormalFormScan scan(text, schema);
  const auto ignore = [](const NormalAva& /*ava*/) {};
  if (scan.run(ignore) && !scan.sawLowerCase() && !scan.hasSeveralValues()) {
    return;
  }
  normalizer_.emplace(schema);
  normalizer_->normalize(text);
  text_ = normalizer_->text();
}

bool separatesRdns(std::string_view normalForm, std::size_t at) {
  std::size_t backslashes = 0;
  while (backslashes < at && normalForm[at - 1 - backslashes] == '\\') {
    ++backslashes;
  }
  return backslashes % 2 == 0;
}

bool isBelow(std::string_view dn, std::string_view baseDn) {
  if (baseDn.empty() || dn.size() < baseDn.size() + 2 || !dn.ends_with(baseDn)) {
    return false;
  }
  const auto comma = dn.size() - baseDn.size() - 1;
  return dn[comma] == ',' && separatesRdns(dn, comma);
}

}  // namespace dirclient
