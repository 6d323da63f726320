#include "simulator/probe.h"

#include <cmath>
#include <numbers>
#include <utility>

#include "simulator/world.h"

namespace kestrine::simulator {
namespace {

constexpr double kBody = 0.12;  // from the probe's reflector down to where the tip adapter is screwed on, metres

// The probe's part of the system parameters: all zero after power-on.
std::int32_t option(const Tracker& tracker, VL_SystemParameter parameter) {
  const auto& set = tracker.state().system_parameters;
  const auto found = set.find(parameter);
  return found == set.end() ? 0 : static_cast<std::int32_t>(found->second);
}

// What turning about the origin does to a point there: the matrix of the cross product.
Matrix cross_matrix(const Vector& a) {
  return {{{0, -a.z, a.y}, {a.z, 0, -a.x}, {-a.y, a.x, 0}}};
}

Uncertainty angle_uncertainty(const Frame& frame, const Matrix& attitude, const Matrix& of_turn) {
  const Vector here = rotation_angles(frame.attitude_outside(attitude));
  const auto unwound = [](double angle, double near) {
    return near + std::remainder(angle - near, 2 * std::numbers::pi);
  };
  const auto angles = [&](const Vector& turn) {
    const Vector there = rotation_angles(frame.attitude_outside(rotation(turn) * attitude));
    return angle_factor(frame.angle) *
           Vector{unwound(there.x, here.x), unwound(there.y, here.y), unwound(there.z, here.z)};
  };
  const Matrix told = propagate(angles, {}, of_turn);
  return {{std::sqrt(told[0][0]), std::sqrt(told[1][1]), std::sqrt(told[2][2])},
          std::sqrt(told[0][0] + told[1][1] + told[2][2]),
          told[0][1],
          told[0][2],
          told[1][2]};
}

}  // namespace

ProbeTools probe_tools(const Tracker& tracker) {
  ProbeTools tools;
  tools.compensation = find_item(probe_compensations(), tracker.settings().integer(VL_C_SetProbeCompensation, 0));
  tools.probe = find_item(probes(), tools.compensation->probe);
  tools.tip = find_item(tip_adapters(), tracker.state().tip_adapter);
  for (const TipCompensation& each : tip_compensations()) {
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

HeldProbe ProbeView::displaced(const Vector& deviation, const Vector& turn) const {
  const Matrix turned = rotation(turn);
  return {Noise::displaced(reflector_, deviation) + turned * arm_, turned * attitude_};
}

ProbeSpread ProbeView::spread(const Frame& frame, const Matrix& of_reflector, const Matrix& of_turn) const {
  const Matrix lever = cross_matrix(arm_);
  const Matrix of_tip = of_reflector + lever * of_turn * transposed(lever);
  return {uncertainty(frame, reflector_ + arm_, of_tip), angle_uncertainty(frame, attitude_, of_turn)};
}

ProbeSpread ProbeView::expected_spread(const Frame& frame, const Noise& noise) const {
  Matrix of_turn{};
  for (std::size_t i = 0; i < 3; ++i) of_turn[i][i] = noise.figures().turn * noise.figures().turn;
  return spread(frame, noise.covariance(reflector_), of_turn);
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
