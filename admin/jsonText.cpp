#include "admin/jsonText.h"

namespace {

template <typename Json>
std::string onOneLine(const Json& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

std::string jsonText(const nlohmann::json& value) {
  return onOneLine(value);
}

std::string jsonText(const nlohmann::ordered_json& value) {
  return onOneLine(value);
}
