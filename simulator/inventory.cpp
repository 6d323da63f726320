#include "simulator/inventory.h"

#include <array>

namespace kestrine::simulator {
namespace {

constexpr std::array kReflectors{
    Reflector{1, VL_TT_CornerCube, 0.01905, u"Corner cube 1.5 in"},
    Reflector{2, VL_TT_CornerCube, 0.00635, u"Corner cube 0.5 in"},
    Reflector{3, VL_TT_CatsEye, 0.0375, u"Cat's eye 75 mm"},
    Reflector{7, VL_TT_GlassPrism, 0.00635, u"Glass prism 0.5 in"},  // identifiers need not be contiguous
};

constexpr std::array kCompensations{
    Compensation{1, u"Factory", u"As delivered", u"Factory ADM", u"As delivered"},
    Compensation{2, u"Workshop", u"After the move to the workshop", u"Workshop ADM", u"Same day as the tracker's"},
};

constexpr std::array kCameras{
    MeasurementCamera{kMountedCamera, 7101, VL_MC_Model5, u"Simulated camera", u"On the tracker"},
    MeasurementCamera{2, 7090, VL_MC_Model4, u"Spare camera", u"In its case"},
};

constexpr std::array kCameraCompensations{
    CameraCompensation{1, 1, kMountedCamera, u"Factory camera", u"As delivered"},
    CameraCompensation{2, 2, kMountedCamera, u"Workshop camera", u"After the move to the workshop"},
};

constexpr std::array kProbes{
    Probe{1, 5501, VL_PT_Pointel, 1, u"Hand probe", u"With four buttons"},
    Probe{2, 5620, VL_PT_MachineControlProbeMultiSide, 4, u"Machine probe", u"On the robot's flange"},
};

constexpr std::array kProbeCompensations{
    ProbeCompensation{1, 1, 0, u"Factory hand probe", u"As delivered"},
    ProbeCompensation{4, 2, 1, u"Machine probe, front", u"The field that faces the tracker"},
};

constexpr std::array kTipAdapters{
    TipAdapter{1, 310, 88001, VL_TT_Fixed, 0.003, 0.05, u"Ruby 6 mm", u"Short"},
    TipAdapter{2, 311, 88017, VL_TT_ThreadWithID_TouchTrigger, 0.001, 0.1, u"Ruby 2 mm", u"Long and thin"},
};

// The long tip was never compensated on the machine probe.
constexpr std::array kTipCompensations{
    TipCompensation{1, 1, 1, VL_TCT_TipOnly, u"Short on hand probe", u"", u""},
    TipCompensation{2, 2, 1, VL_TCT_ShankEnabled, u"Long on hand probe", u"Probes with its shank, too", u"Shank 2 mm"},
    TipCompensation{6, 1, 4, VL_TCT_TipOnly, u"Short on machine probe", u"", u""},
};

}  // namespace

std::span<const Reflector> reflectors() {
  return kReflectors;
}

std::span<const Compensation> compensations() {
  return kCompensations;
}

bool is_reflector(std::int32_t id) {
  return find_item(reflectors(), id) != nullptr;
}

bool is_compensation(std::int32_t id) {
  return find_item(compensations(), id) != nullptr;
}

std::span<const MeasurementCamera> measurement_cameras() {
  return kCameras;
}

std::span<const CameraCompensation> camera_compensations() {
  return kCameraCompensations;
}

std::span<const Probe> probes() {
  return kProbes;
}

std::span<const ProbeCompensation> probe_compensations() {
  return kProbeCompensations;
}

std::span<const TipAdapter> tip_adapters() {
  return kTipAdapters;
}

std::span<const TipCompensation> tip_compensations() {
  return kTipCompensations;
}

}  // namespace kestrine::simulator
