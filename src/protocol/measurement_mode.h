// What a measurement mode is good for, as far as this client tells modes apart. The server is not asked: only the mode
// last set through the connection counts. `legacy` is the connection's legacy-stationary flag.
#pragma once

#include <cstdint>

#include "kestrine/enums.h"
#include "protocol/catalogue.h"
#include "protocol/errors.h"

namespace kestrine::protocol {

constexpr bool is_profile_mode(std::int32_t mode) {
  return mode >= VL_MM_Fast && mode <= VL_MM_Outdoor;
}

constexpr bool is_stationary_point_mode(std::int32_t mode) {
  return mode == VL_MM_Stationary || is_profile_mode(mode);
}

// For a continuous start. A profile mode passes here although it is stationary for a measurement.
constexpr bool blocks_continuous_probe(std::int32_t mode, bool legacy) {
  return mode == VL_MM_6DStationary || (legacy && mode == VL_MM_Stationary);
}

constexpr bool is_stationary_probe_mode(std::int32_t mode, bool legacy) {
  return blocks_continuous_probe(mode, legacy) || is_profile_mode(mode);
}

// What to refuse the operation with; null when it may go ahead, as most may always.
inline const Error* find_mode_misfit(const MemberRow& row, std::int32_t mode, bool legacy) {
  const auto unless = [](bool fits, const Error& misfit) { return fits ? nullptr : &misfit; };
  switch (row.mode_check) {
    case ModeCheck::kNone:
      return nullptr;
    case ModeCheck::kContinuousPoint:
      return unless(!is_stationary_point_mode(mode), error::kNotContinuousMode);
    case ModeCheck::kContinuousProbe:
      return unless(!blocks_continuous_probe(mode, legacy), error::kNotContinuousMode);
    case ModeCheck::kStationaryPoint:
      return unless(is_stationary_point_mode(mode), error::kNotStationaryMode);
    case ModeCheck::kStationaryProbe:
      return unless(is_stationary_probe_mode(mode, legacy), error::kNotStationaryMode);
  }
  return nullptr;
}

}  // namespace kestrine::protocol
