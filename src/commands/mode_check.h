// Whether the measurement mode last set through the connection fits the measurement that is to be started. The server
// is not asked: only what this client knows counts.
#pragma once

#include "commands/method_rows.h"
#include "protocol/errors.h"
#include "transport/connection.h"
#include "transport/measurement_mode.h"

namespace kestrine::commands {

// What to refuse the operation with; null when it may go ahead, as most may always.
inline const protocol::Error* find_mode_misfit(const MethodRow& row, const transport::CLTConnectBase* connection) {
  if (connection == nullptr) return nullptr;
  const std::int32_t mode = connection->measurement_mode;
  const bool legacy = connection->legacy_stationary_mode;
  const auto unless = [](bool fits, const protocol::Error& misfit) { return fits ? nullptr : &misfit; };
  switch (row.family) {
    case Family::kContinuousPointStart:
      return unless(!transport::is_stationary_point_mode(mode), protocol::error::kNotContinuousMode);
    case Family::kContinuousProbeStart:
      return unless(!transport::blocks_continuous_probe(mode, legacy), protocol::error::kNotContinuousMode);
    case Family::kStationaryPoint:
      return unless(transport::is_stationary_point_mode(mode), protocol::error::kNotStationaryMode);
    case Family::kStationaryProbe:
      return unless(transport::is_stationary_probe_mode(mode, legacy), protocol::error::kNotStationaryMode);
    default:
      return nullptr;
  }
}

}  // namespace kestrine::commands
