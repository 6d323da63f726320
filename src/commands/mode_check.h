// Whether the measurement mode last set through the connection fits the measurement that is to be started.
#pragma once

#include "commands/method_rows.h"
#include "connection/measurement_state.h"
#include "protocol/errors.h"

namespace kestrine::commands {

// What to refuse the operation with; null when it may go ahead, as most may always.
inline const protocol::Error* find_mode_misfit(const MethodRow& row, const connection::MeasurementState& state) {
  const auto unless = [](bool fits, const protocol::Error& misfit) { return fits ? nullptr : &misfit; };
  switch (row.family) {
    case Family::kContinuousPointStart:
      return unless(!state.is_stationary_point_mode(), protocol::error::kNotContinuousMode);
    case Family::kContinuousProbeStart:
      return unless(!state.blocks_continuous_probe(), protocol::error::kNotContinuousMode);
    case Family::kStationaryPoint:
      return unless(state.is_stationary_point_mode(), protocol::error::kNotStationaryMode);
    case Family::kStationaryProbe:
      return unless(state.is_stationary_probe_mode(), protocol::error::kNotStationaryMode);
    default:
      return nullptr;
  }
}

}  // namespace kestrine::commands
