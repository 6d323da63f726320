// What this client remembers of measuring: the mode and the time set last, and how far a measurement has come. The
// server is not asked: only what went through this connection counts.
#pragma once

#include <cstdint>
#include <utility>

#include "kestrine/enums.h"
#include "protocol/catalogue.h"
#include "protocol/errors.h"

namespace kestrine::connection {

class MeasurementState {
 public:
  void set_mode(std::int32_t mode) { mode_ = mode; }
  // Milliseconds that a stationary measurement takes.
  std::int32_t stationary_time() const { return stationary_time_; }
  void set_stationary_time(std::int32_t milliseconds) { stationary_time_ = milliseconds; }
  // One flag for two things: the property sets it, every stationary probe result overwrites it.
  void set_legacy_stationary(bool on) { legacy_stationary_ = on; }

  bool is_stationary_point_mode() const { return mode_ == VL_MM_Stationary || is_profile_mode(); }
  // What to refuse a measurement of that kind with; null when the mode fits it.
  const protocol::Error* check_mode(protocol::ModeCheck measurement) const;

  void on_start_sent() { start_acknowledged_ = false; }
  // Also a measurement that nobody acknowledged counts as acknowledged once its result has come.
  void on_result() {
    start_acknowledged_ = true;
    ++results_;
  }
  bool is_start_acknowledged() const { return start_acknowledged_; }
  // False for the first acknowledgement of a start.
  bool acknowledge_start() { return std::exchange(start_acknowledged_, true); }
  // Stationary results so far. A higher number than before a call means that the result in the buffer is the call's.
  std::uint32_t results() const { return results_; }

 private:
  bool is_profile_mode() const { return mode_ >= VL_MM_Fast && mode_ <= VL_MM_Outdoor; }
  bool is_6d_stationary_mode() const {
    return mode_ == VL_MM_6DStationary || (legacy_stationary_ && mode_ == VL_MM_Stationary);
  }

  std::int32_t mode_ = VL_MM_Stationary;
  std::int32_t stationary_time_ = 1500;
  bool legacy_stationary_ = false;
  bool start_acknowledged_ = true;
  std::uint32_t results_ = 0;
};

inline const protocol::Error* MeasurementState::check_mode(protocol::ModeCheck measurement) const {
  using protocol::ModeCheck;
  const auto unless = [](bool fits, const protocol::Error& misfit) { return fits ? nullptr : &misfit; };
  switch (measurement) {
    case ModeCheck::kNone:
      return nullptr;
    case ModeCheck::kContinuousPoint:
      return unless(!is_stationary_point_mode(), protocol::error::kNotContinuousMode);
    case ModeCheck::kContinuousProbe:  // a profile mode passes although it is stationary for a measurement
      return unless(!is_6d_stationary_mode(), protocol::error::kNotContinuousMode);
    case ModeCheck::kStationaryPoint:
      return unless(is_stationary_point_mode(), protocol::error::kNotStationaryMode);
    case ModeCheck::kStationaryProbe:
      return unless(is_6d_stationary_mode() || is_profile_mode(), protocol::error::kNotStationaryMode);
  }
  return nullptr;
}

}  // namespace kestrine::connection
