// Packets with one point as their result, in the form that the statistic mode asks for.
#pragma once

#include "simulator/packets.h"
#include "simulator/tracker.h"
#include "simulator/uncertainty.h"

namespace kestrine::simulator {

struct SinglePoint {
  Vector place;          // in the tracker's own system
  Vector pointing;       // off the beam: across, across, along; metres
  Matrix covariance{};   // of the place, as the readings show it
  Matrix expectation{};  // the same, as the tracker claims it beforehand
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

template <class Result>
void send_result(Client& client, const Result& result, VL_DataType type, VL_ResultStatus status) {
  Bytes packet = packed(result);
  begin_data_packet(packet, type, status);
  client.send(std::move(packet));
}

}  // namespace kestrine::simulator
