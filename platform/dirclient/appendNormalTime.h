// Generalized time as an instant.
#ifndef PLATFORM_DIRCLIENT_APPENDNORMALTIME_H
#define PLATFORM_DIRCLIENT_APPENDNORMALTIME_H

#include <memory_resource>
#include <string>
#include <string_view>

namespace dirclient {

/// Appends the one spelling of the instant that `value` names (RFC 4517, section 3.3.13): in UTC,
/// with seconds, without zeros at the end of a fraction. False, with `text` unchanged, where
/// `value` is no generalized time, names a day that does not exist, or falls out of the years 0 to
/// 9999 in UTC.
bool appendNormalTime(std::string_view value, std::pmr::string& text);

}  // namespace dirclient

#endif
