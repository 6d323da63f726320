// What a measurement mode is good for, as far as this client tells modes apart.
#pragma once

#include <cstdint>

#include "kestrine/enums.h"

namespace kestrine::transport {

constexpr bool is_profile_mode(std::int32_t mode) {
  return mode >= VL_MM_Fast && mode <= VL_MM_Outdoor;
}

constexpr bool is_stationary_point_mode(std::int32_t mode) {
  return mode == VL_MM_Stationary || is_profile_mode(mode);
}

// For a continuous start; `legacy` is the connection's legacy-stationary flag. A profile mode passes here although
// it is stationary for a measurement.
constexpr bool blocks_continuous_probe(std::int32_t mode, bool legacy) {
  return mode == VL_MM_6DStationary || (legacy && mode == VL_MM_Stationary);
}

constexpr bool is_stationary_probe_mode(std::int32_t mode, bool legacy) {
  return blocks_continuous_probe(mode, legacy) || is_profile_mode(mode);
}

}  // namespace kestrine::transport
