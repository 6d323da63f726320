// The settings file Kestrine.ini, read anew at each use; section Settings.
#pragma once

#include <cstdint>
#include <string_view>

#include "connection/setting_rows.h"
#include "platform/profile.h"

namespace kestrine::connection::settings {

inline constexpr std::u16string_view kFile = u"Kestrine.ini";
inline constexpr std::u16string_view kSection = u"Settings";

inline std::int32_t value_of(const Setting& setting) {
  return platform::profile_int(kSection, setting.key, setting.default_value, kFile);
}

inline bool nonblocking_connect() {
  return value_of(kNonblockingConnect) != 0;
}

// Milliseconds. Zero or less means not to attempt to connect at all, in classic behaviour.
inline std::int32_t connection_timeout() {
  return value_of(kConnectionTimeout);
}

inline bool suppress_statistic_mode_errors() {
  return value_of(kSuppressStatisticModeErrors) != 0;
}

}  // namespace kestrine::connection::settings
