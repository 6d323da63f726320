#include "simulator/tracker/probe.h"

#include <cmath>
#include <numbers>
#include <utility>

#include "simulator/tracker/world.h"

namespace kestrine::simulator {
namespace {

constexpr double kBody = 0.12;  // from the probe's reflector down to where the tip adapter is screwed on, metres

// The probe's part of the system parameters: all zero after power-on.
std::int32_t option(const Tracker& tracker, VL_SystemParameter parameter) {
  const auto& set = tracker.state().system_parameters;
  const auto found = set.find(parameter);
  return found == set.end() ? 0 : static_cast<std::int32_t>(found->second);
}

// Of the three rotation angles, by the covariance of small rotations about the tracker's axes.
Uncertainty angle_uncertainty(const Frame& frame, const Matrix& attitude, const Matrix& of_rotations) {
  const Vector here = rotation_angles(frame.to_attitude(attitude));
  // Beside the half turn an angle jumps; seen from here it goes on.
  const auto angles = [&](const Vector& rotations) -> Vector {
    const Vector there = rotation_angles(frame.to_attitude(rotation(rotations) * attitude));
    const auto difference = [](double angle) { return std::remainder(angle, 2 * std::numbers::pi); };
    return angle_factor(frame.angle) * (here + (there - here).unaryExpr(difference));
  };
  const Matrix covariance = propagate(angles, {}, of_rotations);
  return {covariance, std::sqrt(covariance.trace())};
}

}  // namespace

ProbeTools probe_tools(const Tracker& tracker) {
  ProbeTools tools;
  tools.compensation = find_item(kProbeCompensations, tracker.settings().integer(VL_C_SetProbeCompensation, 0));
  tools.probe = find_item(kProbes, tools.compensation->probe);
  tools.tip = find_item(kTipAdapters, tracker.state().tip_adapter);
  for (const TipCompensation& each : kTipCompensations) {
    if (each.tip == tools.tip->id && each.probe_compensation == tools.compensation->id) tools.tip_compensation = &each;
  }
  return tools;
}

VL_ResultStatus probe_refusal(const Tracker& tracker) {
  if (tracker.settings().integer(VL_C_SetMeasurementCameraMode, 0) != VL_MCM_Measure) return VL_RS_6DModeNotAllowed;
  if (tracker.state().face == VL_TF_Face2) return VL_RS_6DMeasurementFace2NotAllowed;
  const TipCompensation* tip = probe_tools(tracker).tip_compensation;
  switch (option(tracker, VL_SP_ProbeConfig_Tip)) {
    case VL_PCT_NoTipAllowed:
      return VL_RS_AllOK;
    case VL_PCT_OnlyWithShankCompensation:
      return tip && tip->type == VL_TCT_ShankEnabled ? VL_RS_AllOK : VL_RS_NoMeasurementShankCompSet;
    default:
      return tip ? VL_RS_AllOK : VL_RS_NoMeasurementTipCompSet;
  }
}

std::int32_t probe_status_flags(const Tracker& tracker) {
  const ProbeTools tools = probe_tools(tracker);
  std::int32_t flags = VL_MSI_MeasurementCameraFound | VL_MSI_InternalCameraParamsOK |
                       VL_MSI_CameraToTrackerParamsFound | VL_MSI_MeasurementProbeFound | VL_MSI_ProbeParamsFound |
                       VL_MSI_MeasurementTipFound;
  if (tools.tip_compensation) flags |= VL_MSI_TipParamsFound;
  if (tools.tip_compensation && tools.tip_compensation->type == VL_TCT_ShankEnabled) flags |= VL_MSI_ShankParamsFound;
  return flags;
}

// An uncompensated tip is left out of account: what is measured then is the probe's own reflector.
ProbeView::ProbeView(const ProbeTools& tools, const Vector& tip) : attitude_(probe_attitude(tip)) {
  if (tools.tip_compensation) arm_ = attitude_ * Vector{0, 0, -kBody - tools.tip->length};
  reflector_ = tip - arm_;
}

HeldProbe ProbeView::displaced(const Vector& deviation, const Vector& attitude_deviation) const {
  const Matrix rotated = rotation(attitude_deviation);
  return {Noise::displaced(reflector_, deviation) + rotated * arm_, rotated * attitude_};
}

HeldProbe ProbeView::read(Noise& noise) const {
  const Vector deviation = noise.deviation(length(reflector_));
  return displaced(deviation, noise.attitude_deviation());
}

ProbeSpread ProbeView::spread(const Frame& frame, const Matrix& of_reflector, const Matrix& of_attitude) const {
  const Matrix lever{{0, -arm_.z(), arm_.y()}, {arm_.z(), 0, -arm_.x()}, {-arm_.y(), arm_.x(), 0}};  // arm x rotation
  const Matrix of_tip = of_reflector + lever * of_attitude * lever.transpose();
  return {frame.uncertainty(reflector_ + arm_, of_tip), angle_uncertainty(frame, attitude_, of_attitude)};
}

ProbeSpread ProbeView::expected_spread(const Frame& frame, const Noise& noise) const {
  const Matrix of_attitude = std::pow(noise.figures().attitude, 2) * Matrix::Identity();
  return spread(frame, noise.covariance(reflector_), of_attitude);
}

void ProbeButton::set(bool is_down) {
  if (std::exchange(is_down_, is_down) == is_down) return;
  if (option(tracker_, VL_SP_ProbeConfig_ButtonEvent) != VL_PBE_EnableEvents) return;
  if (option(tracker_, VL_SP_ProbeConfig_Button) == VL_PCB_4ButtonMode) {
    tracker_.announce(is_down ? VL_SSC_ProbeButton1Down : VL_SSC_ProbeButton1Up);
  } else {
    tracker_.announce(is_down ? VL_SSC_MeasurementProbeButtonDown : VL_SSC_MeasurementProbeButtonUp);
  }
}

}  // namespace kestrine::simulator
