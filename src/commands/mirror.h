// What a connection remembers of the settings that it sent.
#pragma once

#include "commands/argument.h"
#include "commands/method_rows.h"
#include "connection/measurement_state.h"
#include "kestrine/records.h"

namespace kestrine::commands {

inline void remember_setting(const MethodRow& row, const Argument* arguments, connection::MeasurementState& state) {
  if (row.family == Family::kSetMeasurementMode) state.set_mode(arguments[0].i32);
  if (row.family == Family::kSetStationaryTime) {
    const bool is_record = row.params[0].type == ParamType::kRecord;
    state.set_stationary_time(is_record ? static_cast<const StationaryModeDataT*>(arguments[0].record)->lMeasTime
                                        : arguments[0].i32);
  }
}

}  // namespace kestrine::commands
