// Everything that a Set command stores and a Get command returns unchanged: one row each, no code each.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <span>

#include "simulator/messages/messages.h"

namespace kestrine::simulator {

struct SettingRow {
  VL_Command set;
  VL_Command get;       // its answer holds, from 16, what the set request holds from 12
  std::int32_t change;  // the status change that reports it, or kUnreported
};

inline constexpr std::int32_t kUnreported = -1;

std::span<const SettingRow> all_settings();
const SettingRow* find_setting(std::int32_t command);  // by either command

// Values keep the numbers and the frame they came in, so that reading them back in the same frame gives the same
// numbers to the last bit.
class Settings {
 public:
  Settings();  // as after power-on

  void store(const SettingRow& row, std::span<const std::uint8_t> values, const Frame& frame);
  // As the get command's answer carries them.
  Bytes load(const SettingRow& row, const Frame& frame) const;
  // As a record, or a single enumeration or integer; in base units where no frame is given.
  template <class Value>
  Value get(VL_Command set, const Frame& frame = {}) const;
  // One 32-bit integer among the values, at that byte.
  std::int32_t integer(VL_Command set, std::size_t offset) const;
  template <class Value>
  void put(VL_Command set, const Value& value);

 private:
  struct Stored {
    Bytes values;
    Frame frame;
  };
  std::map<VL_Command, Stored> stored_;
};

// --- What the measurement modes have in common.

// The modes whose target is the probe; each has its like among those for a reflector, and shares its parameters.
inline bool is_probe_mode(VL_MeasMode mode) {
  return mode >= VL_MM_6DStationary && mode <= VL_MM_6DCircleCenter;
}

inline VL_MeasMode point_mode(VL_MeasMode mode) {
  return is_probe_mode(mode) ? static_cast<VL_MeasMode>(mode - VL_MM_6DStationary) : mode;
}

inline bool is_stationary(VL_MeasMode mode) {
  return point_mode(mode) == VL_MM_Stationary || mode >= VL_MM_Fast;
}

inline bool is_centre(VL_MeasMode mode) {
  return point_mode(mode) == VL_MM_SphereCenter || point_mode(mode) == VL_MM_CircleCenter;
}

// --- Implementation of the templates.

template <class Value>
Value Settings::get(VL_Command set, const Frame& frame) const {
  const Bytes values = load(*find_setting(set), frame);
  if constexpr (sizeof(Value) == 4) {
    return static_cast<Value>(wire::load_i32(values.data()));
  } else {
    Value value;
    read_record(values.data(), value);
    return value;
  }
}

template <class Value>
void Settings::put(VL_Command set, const Value& value) {
  std::array<std::uint8_t, sizeof(Value)> bytes{};
  if constexpr (sizeof(Value) == 4) {
    wire::store_i32(bytes.data(), static_cast<std::int32_t>(value));
  } else {
    write_record(value, bytes.data());
  }
  store(*find_setting(set), bytes, Frame{});
}

}  // namespace kestrine::simulator
