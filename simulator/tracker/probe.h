// The probe: which one is in use with which tip, whether it can be measured, and what the beam and the camera see of
// it.
#pragma once

#include "simulator/tracker/inventory.h"
#include "simulator/tracker/tracker.h"

namespace kestrine::simulator {

// What is in use, as the compensation of the probe and the tip adapter say.
struct ProbeTools {
  const ProbeCompensation* compensation = nullptr;
  const Probe* probe = nullptr;
  const TipAdapter* tip = nullptr;
  const TipCompensation* tip_compensation = nullptr;  // null: that tip was never compensated on that probe
};

ProbeTools probe_tools(const Tracker& tracker);
// Why the probe cannot be measured as things are set; VL_RS_AllOK when it can.
VL_ResultStatus probe_refusal(const Tracker& tracker);
// The camera's, the probe's and the tip's part of the measurement status information.
std::int32_t probe_status_flags(const Tracker& tracker);

// In the tracker's own system; the columns are the probe's axes.
struct HeldProbe {
  Vector tip;
  Matrix attitude = Matrix::Identity();
};

struct ProbeSpread {
  Uncertainty position;
  Uncertainty rotation;  // of the three rotation angles
};

// The probe with its tip truly at a place: the beam meets its reflector, the camera sees its attitude, and the tip is
// where the two of them put it.
class ProbeView {
 public:
  ProbeView(const ProbeTools& tools, const Vector& tip);

  const Vector& reflector() const { return reflector_; }
  // As readings with these deviations of the reflector and of the attitude put it.
  HeldProbe displaced(const Vector& deviation, const Vector& attitude_deviation) const;
  HeldProbe read(Noise& noise) const;
  // By the covariances of the reflector's X, Y, Z and of the rotations about them.
  ProbeSpread spread(const Frame& frame, const Matrix& of_reflector, const Matrix& of_attitude) const;
  ProbeSpread expected_spread(const Frame& frame, const Noise& noise) const;

 private:
  Matrix attitude_;
  Vector arm_;  // from the reflector to the tip
  Vector reflector_;
};

// Sends the status changes of the probe's measurement button, where the system parameters ask for them.
class ProbeButton {
 public:
  explicit ProbeButton(Tracker& tracker) : tracker_(tracker) {}
  void set(bool is_down);

 private:
  Tracker& tracker_;
  bool is_down_ = false;
};

}  // namespace kestrine::simulator
