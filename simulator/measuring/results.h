// Filling the records of results: those with one point, in the form that the statistic mode asks for, and the fields
// that the probe's records have in common, under the same names.
#pragma once

#include <Eigen/Geometry>

#include "simulator/tracker/probe.h"

namespace kestrine::simulator {

struct SinglePoint {
  Vector place;        // in the tracker's own system
  Vector pointing;     // off the beam: across, across, along; metres
  Matrix covariance;   // of the place, as the readings show it
  Matrix expectation;  // the same, as the tracker claims it beforehand
};

void send_point(Tracker& tracker, Client& client, const Frame& frame, const SinglePoint& point);

// What every kind of single result says of itself, under the same names.
template <class Result>
void fill_circumstances(Result& result, Tracker& tracker, const Frame& frame) {
  const auto weather = tracker.settings().get<EnvironmentDataT>(VL_C_SetEnvironmentParams, frame);
  result.measMode = tracker.settings().get<VL_MeasMode>(VL_C_SetMeasurementMode);
  result.bIsTryMode = tracker.settings().get<SystemSettingsDataT>(VL_C_SetSystemSettings).bTryMeasurementMode;
  result.dTemperature = weather.dTemperature;
  result.dPressure = weather.dPressure;
  result.dHumidity = weather.dHumidity;
}

// With a scalar part that is not negative, so that an attitude has one quaternion only.
Eigen::Quaterniond quaternion(const Matrix& attitude);

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
  record.dPosition1 = values.x();
  record.dPosition2 = values.y();
  record.dPosition3 = values.z();
}

// Position, quaternion and angles say the same pose, each in the frame's way; angles as `rotation` takes them.
template <class Record>
void fill_pose(Record& record, const Frame& frame, const HeldProbe& probe) {
  fill_position(record, frame.to_values(probe.tip));
  const Matrix attitude = frame.to_attitude(probe.attitude);
  const Eigen::Quaterniond rotated = quaternion(attitude);
  record.dQuaternion0 = rotated.w();
  record.dQuaternion1 = rotated.x();
  record.dQuaternion2 = rotated.y();
  record.dQuaternion3 = rotated.z();
  const Vector angles = angle_factor(frame.angle) * rotation_angles(attitude);
  record.dRotationAngleX = angles.x();
  record.dRotationAngleY = angles.y();
  record.dRotationAngleZ = angles.z();
}

template <class Record>
void fill_position_spread(Record& record, const Uncertainty& spread) {
  record.dStdDevPosition1 = spread.deviations.x();
  record.dStdDevPosition2 = spread.deviations.y();
  record.dStdDevPosition3 = spread.deviations.z();
  record.dStdDevPositionTotal = spread.total;
  record.dCovarPosition12 = spread.covariance12;
  record.dCovarPosition13 = spread.covariance13;
  record.dCovarPosition23 = spread.covariance23;
}

template <class Record>
void fill_spread(Record& record, const ProbeSpread& spread) {
  fill_position_spread(record, spread.position);
  record.dStdDevRotationAngleX = spread.rotation.deviations.x();
  record.dStdDevRotationAngleY = spread.rotation.deviations.y();
  record.dStdDevRotationAngleZ = spread.rotation.deviations.z();
  record.dStdDevRotationAngleTotal = spread.rotation.total;
  record.dCovarRotationAngleXY = spread.rotation.covariance12;
  record.dCovarRotationAngleXZ = spread.rotation.covariance13;
  record.dCovarRotationAngleYZ = spread.rotation.covariance23;
}

void fill_position_expectation(ProbeStationaryResultT& record, const Uncertainty& spread);
void fill_expectation(ProbeStationaryResultT& record, const ProbeSpread& spread);

}  // namespace kestrine::simulator
