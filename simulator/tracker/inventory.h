// What belongs to the simulated tracker: its versions, its reflectors, its cameras, probes and tips, and what was
// found out about each of them by compensation.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
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

inline constexpr std::array kReflectors{
    Reflector{1, VL_TT_CornerCube, 0.01905, u"Corner cube 1.5 in"},
    Reflector{2, VL_TT_CornerCube, 0.00635, u"Corner cube 0.5 in"},
    Reflector{3, VL_TT_CatsEye, 0.0375, u"Cat's eye 75 mm"},
    Reflector{7, VL_TT_GlassPrism, 0.00635, u"Glass prism 0.5 in"},  // identifiers need not be contiguous
};

inline constexpr std::array kCompensations{
    Compensation{1, u"Factory", u"As delivered", u"Factory ADM", u"As delivered"},
    Compensation{2, u"Workshop", u"After the move to the workshop", u"Workshop ADM", u"Same day as the tracker's"},
};

inline constexpr std::array kMeasurementCameras{
    MeasurementCamera{kMountedCamera, 7101, VL_MC_Model5, u"Simulated camera", u"On the tracker"},
    MeasurementCamera{2, 7090, VL_MC_Model4, u"Spare camera", u"In its case"},
};

inline constexpr std::array kCameraCompensations{
    CameraCompensation{1, 1, kMountedCamera, u"Factory camera", u"As delivered"},
    CameraCompensation{2, 2, kMountedCamera, u"Workshop camera", u"After the move to the workshop"},
};

inline constexpr std::array kProbes{
    Probe{1, 5501, VL_PT_Pointel, 1, u"Hand probe", u"With four buttons"},
    Probe{2, 5620, VL_PT_MachineControlProbeMultiSide, 4, u"Machine probe", u"On the robot's flange"},
};

inline constexpr std::array kProbeCompensations{
    ProbeCompensation{1, 1, 0, u"Factory hand probe", u"As delivered"},
    ProbeCompensation{4, 2, 1, u"Machine probe, front", u"The field that faces the tracker"},
};

inline constexpr std::array kTipAdapters{
    TipAdapter{1, 310, 88001, VL_TT_Fixed, 0.003, 0.05, u"Ruby 6 mm", u"Short"},
    TipAdapter{2, 311, 88017, VL_TT_ThreadWithID_TouchTrigger, 0.001, 0.1, u"Ruby 2 mm", u"Long and thin"},
};

// The long tip was never compensated on the machine probe.
inline constexpr std::array kTipCompensations{
    TipCompensation{1, 1, 1, VL_TCT_TipOnly, u"Short on hand probe", u"", u""},
    TipCompensation{2, 2, 1, VL_TCT_ShankEnabled, u"Long on hand probe", u"Probes with its shank, too", u"Shank 2 mm"},
    TipCompensation{6, 1, 4, VL_TCT_TipOnly, u"Short on machine probe", u"", u""},
};

// Null where no item has the identifier.
const auto* find_item(const auto& items, std::int32_t id) {
  const auto found = std::find_if(items.begin(), items.end(), [&](const auto& each) { return each.id == id; });
  return found == items.end() ? nullptr : &*found;
}

}  // namespace kestrine::simulator
