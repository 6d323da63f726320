// Filling the fields that the probe's records have in common, under the same names.
#pragma once

#include <array>

#include "simulator/packets.h"
#include "simulator/probe.h"

namespace kestrine::simulator {

// Scalar part first and not negative, so that an attitude has one quaternion only.
std::array<double, 4> quaternion(const Matrix& attitude);

// The tip with its probe's position and attitude as the display shows them, without any noise.
Bytes probe_position_packet(Tracker& tracker, const Vector& tip);

template <class Record>
void fill_tip(Record& record, const ProbeTools& tools) {
  record.tipStatus = tools.tip_compensation ? VL_PTS_TipOK : VL_PTS_UnknownTip;
  record.iInternalTipAdapterId = tools.tip->id;
  record.iTipAdapterInterface = kTipInterface;
}

template <class Record>
void fill_tools(Record& record, const ProbeTools& tools) {
  record.iInternalProbeId = tools.probe->id;
  record.iFieldNumber = tools.compensation->field;
  fill_tip(record, tools);
}

template <class Record>
void fill_position(Record& record, const Vector& values) {
  record.dPosition1 = values.x;
  record.dPosition2 = values.y;
  record.dPosition3 = values.z;
}

// Position, quaternion and angles say the same pose, each in the frame's way; angles as `rotation` takes them.
template <class Record>
void fill_pose(Record& record, const Frame& frame, const HeldProbe& probe) {
  fill_position(record, frame.to_outside(probe.tip));
  const Matrix attitude = frame.attitude_outside(probe.attitude);
  const auto turned = quaternion(attitude);
  record.dQuaternion0 = turned[0];
  record.dQuaternion1 = turned[1];
  record.dQuaternion2 = turned[2];
  record.dQuaternion3 = turned[3];
  const Vector angles = angle_factor(frame.angle) * rotation_angles(attitude);
  record.dRotationAngleX = angles.x;
  record.dRotationAngleY = angles.y;
  record.dRotationAngleZ = angles.z;
}

template <class Record>
void fill_position_spread(Record& record, const Uncertainty& spread) {
  record.dStdDevPosition1 = spread.deviations.x;
  record.dStdDevPosition2 = spread.deviations.y;
  record.dStdDevPosition3 = spread.deviations.z;
  record.dStdDevPositionTotal = spread.total;
  record.dCovarPosition12 = spread.covariance12;
  record.dCovarPosition13 = spread.covariance13;
  record.dCovarPosition23 = spread.covariance23;
}

template <class Record>
void fill_spread(Record& record, const ProbeSpread& spread) {
  fill_position_spread(record, spread.position);
  record.dStdDevRotationAngleX = spread.rotation.deviations.x;
  record.dStdDevRotationAngleY = spread.rotation.deviations.y;
  record.dStdDevRotationAngleZ = spread.rotation.deviations.z;
  record.dStdDevRotationAngleTotal = spread.rotation.total;
  record.dCovarRotationAngleXY = spread.rotation.covariance12;
  record.dCovarRotationAngleXZ = spread.rotation.covariance13;
  record.dCovarRotationAngleYZ = spread.rotation.covariance23;
}

void fill_position_expectation(ProbeStationaryResultT& record, const Uncertainty& spread);
void fill_expectation(ProbeStationaryResultT& record, const ProbeSpread& spread);

}  // namespace kestrine::simulator
