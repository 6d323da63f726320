// The settings file Kestrine.ini, read anew at each use; section Settings.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/profile.h"

namespace kestrine::connection::settings {

inline constexpr std::u16string_view kFile = u"Kestrine.ini";
inline constexpr std::u16string_view kSection = u"Settings";

inline bool nonblocking_connect() {
  return platform::profile_int(kSection, u"NonblockingConnect", 1, kFile) != 0;
}

// Milliseconds.
inline constexpr std::int32_t kDefaultConnectionTimeout = 2000;

// Zero or less means not to attempt to connect at all, in classic behaviour.
inline std::int32_t connection_timeout() {
  return platform::profile_int(kSection, u"ConnectionTimeout", kDefaultConnectionTimeout, kFile);
}

inline bool suppress_statistic_mode_errors() {
  return platform::profile_int(kSection, u"SuppressStatisticModeErrors", 0, kFile) != 0;
}

}  // namespace kestrine::connection::settings
