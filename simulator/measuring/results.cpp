#include "simulator/measuring/results.h"

#include "simulator/measuring/measuring.h"

namespace kestrine::simulator {
namespace {

template <class Result>
void fill_point(Result& result, const Vector& values, const Uncertainty& measured, const Uncertainty& expected) {
  set_values(result, values);
  result.dStd1 = measured.deviations.x();
  result.dStd2 = measured.deviations.y();
  result.dStd3 = measured.deviations.z();
  result.dStdTotal = measured.total;
  result.dAprioriStd1 = expected.deviations.x();
  result.dAprioriStd2 = expected.deviations.y();
  result.dAprioriStd3 = expected.deviations.z();
  result.dAprioriStdTotal = expected.total;
}

void fill_rest(SingleMeasResultT& result, const Vector& pointing, const Uncertainty&, const Uncertainty&) {
  result.dPointingError1 = pointing.x();
  result.dPointingError2 = pointing.y();
  result.dPointingError3 = pointing.z();
}

void fill_rest(SingleMeasResult2T& result, const Vector& pointing, const Uncertainty& measured,
               const Uncertainty& expected) {
  result.dCovar12 = measured.covariance12;
  result.dCovar13 = measured.covariance13;
  result.dCovar23 = measured.covariance23;
  result.dAprioriCovar12 = expected.covariance12;
  result.dAprioriCovar13 = expected.covariance13;
  result.dAprioriCovar23 = expected.covariance23;
  result.dPointingErrorH = pointing.x();
  result.dPointingErrorV = pointing.y();
  result.dPointingErrorD = pointing.z();
}

// Calls back with an empty result of the kind that the statistic mode asks for, and with its data type.
template <class Use>
void with_result(const Settings& settings, const Use& use) {
  if (settings.integer(VL_C_SetStatisticMode, 0) == VL_SM_Extended) {
    use(SingleMeasResult2T{}, VL_DT_SingleMeasResult2);
  } else {
    use(SingleMeasResultT{}, VL_DT_SingleMeasResult);
  }
}

}  // namespace

Eigen::Quaterniond quaternion(const Matrix& attitude) {
  Eigen::Quaterniond found(attitude);
  if (found.w() < 0) found.coeffs() *= -1;
  return found;
}

void fill_position_expectation(ProbeStationaryResultT& record, const Uncertainty& spread) {
  record.dAprioriStdDevPosition1 = spread.deviations.x();
  record.dAprioriStdDevPosition2 = spread.deviations.y();
  record.dAprioriStdDevPosition3 = spread.deviations.z();
  record.dAprioriStdDevPositionTotal = spread.total;
  record.dAprioriCovarPosition12 = spread.covariance12;
  record.dAprioriCovarPosition13 = spread.covariance13;
  record.dAprioriCovarPosition23 = spread.covariance23;
}

void fill_expectation(ProbeStationaryResultT& record, const ProbeSpread& spread) {
  fill_position_expectation(record, spread.position);
  record.dAprioriStdDevRotationAngleX = spread.rotation.deviations.x();
  record.dAprioriStdDevRotationAngleY = spread.rotation.deviations.y();
  record.dAprioriStdDevRotationAngleZ = spread.rotation.deviations.z();
  record.dAprioriStdDevRotationAngleTotal = spread.rotation.total;
  record.dAprioriCovarRotationAngleXY = spread.rotation.covariance12;
  record.dAprioriCovarRotationAngleXZ = spread.rotation.covariance13;
  record.dAprioriCovarRotationAngleYZ = spread.rotation.covariance23;
}

void send_point(Tracker& tracker, Client& client, const Frame& frame, const SinglePoint& point) {
  const Uncertainty measured = frame.uncertainty(point.place, point.covariance);
  const Uncertainty expected = frame.uncertainty(point.place, point.expectation);
  with_result(tracker.settings(), [&](auto result, VL_DataType type) {
    fill_circumstances(result, tracker, frame);
    fill_point(result, frame.to_values(point.place), measured, expected);
    fill_rest(result, length_factor(frame.length) * point.pointing, measured, expected);
    client.send(data_packet(result, type));
  });
}

void send_no_result(Tracker& tracker, Client& client, VL_ResultStatus status) {
  if (is_probe_mode(tracker.settings().get<VL_MeasMode>(VL_C_SetMeasurementMode))) {
    ProbeStationaryResultT result;
    fill_circumstances(result, tracker, tracker.frame());
    return client.send(data_packet(result, VL_DT_StationaryProbeMeasResult, status));
  }
  with_result(tracker.settings(), [&](auto result, VL_DataType type) {
    fill_circumstances(result, tracker, tracker.frame());
    client.send(data_packet(result, type, status));
  });
}

}  // namespace kestrine::simulator
