// JSON as it is printed.
#ifndef ADMIN_JSONTEXT_H
#define ADMIN_JSONTEXT_H

#include <nlohmann/json.hpp>
#include <string>

/// The value on one line. Texts may hold any bytes: what is no UTF-8 becomes U+FFFD.
std::string jsonText(const nlohmann::json& value);
std::string jsonText(const nlohmann::ordered_json& value);

#endif
