// What belongs to the simulated tracker: its versions, its reflectors, its cameras, probes and tips, and what was
// found out about each of them by compensation.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "kestrine/enums.h"

namespace kestrine::simulator {

inline constexpr std::int32_t kSerialNumber = 9001;
inline constexpr std::int32_t kSoftwareMajor = 3;
inline constexpr std::int32_t kSoftwareMinor = 8;
inline constexpr std::int32_t kSoftwareBuild = 680;
inline constexpr std::u16string_view kSoftwareVersion = u"3.8.680";

// Commands that the server reads ahead of their execution, for each client.
inline constexpr std::size_t kCommandQueueSize = 100;

struct Reflector {
  std::int32_t id;
  VL_TargetType type;
  double surface_offset;  // from the optical centre to the touching surface, metres
  std::u16string_view name;
};

struct Compensation {
  std::int32_t id;
  std::u16string_view tracker_name;
  std::u16string_view tracker_comment;
  std::u16string_view adm_name;
  std::u16string_view adm_comment;
};

struct MeasurementCamera {
  std::int32_t id;
  std::int32_t serial_number;
  VL_MeasurementCameraType type;
  std::u16string_view name;
  std::u16string_view comment;
};

// Of a camera, as it sits on the tracker.
struct CameraCompensation {
  std::int32_t id;
  std::int32_t tracker_compensation;
  std::int32_t camera;
  std::u16string_view name;
  std::u16string_view comment;
};

struct Probe {
  std::int32_t id;
  std::int32_t serial_number;
  VL_ProbeType type;
  std::int32_t fields;  // of lights, each for another direction of view
  std::u16string_view name;
  std::u16string_view comment;
};

struct ProbeCompensation {
  std::int32_t id;
  std::int32_t probe;
  std::int32_t field;
  std::u16string_view name;
  std::u16string_view comment;
};

struct TipAdapter {
  std::int32_t id;
  std::int32_t assembly;
  std::int32_t serial_number;
  VL_TipType type;
  double radius;  // metres
  double length;
  std::u16string_view name;
  std::u16string_view comment;
};

// Of a tip, as it sits on a probe.
struct TipCompensation {
  std::int32_t id;
  std::int32_t tip;
  std::int32_t probe_compensation;
  VL_TipToProbeCompensationType type;
  std::u16string_view name;
  std::u16string_view comment;
  std::u16string_view shank_name;
};

// The camera on the tracker, out of those in the database, and where tips are screwed to the probes.
inline constexpr std::int32_t kMountedCamera = 1;
inline constexpr std::int32_t kTipInterface = 1;
inline constexpr std::int32_t kProbeDataRate = 1000;  // each second

std::span<const Reflector> reflectors();
std::span<const Compensation> compensations();
std::span<const MeasurementCamera> measurement_cameras();
std::span<const CameraCompensation> camera_compensations();
std::span<const Probe> probes();
std::span<const ProbeCompensation> probe_compensations();
std::span<const TipAdapter> tip_adapters();
std::span<const TipCompensation> tip_compensations();

// Null where no item has the identifier.
template <class Item>
const Item* find_item(std::span<const Item> items, std::int32_t id) {
  for (const Item& each : items) {
    if (each.id == id) return &each;
  }
  return nullptr;
}
bool is_reflector(std::int32_t id);
bool is_compensation(std::int32_t id);

}  // namespace kestrine::simulator
