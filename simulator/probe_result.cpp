#include "simulator/probe_result.h"

#include <algorithm>
#include <cmath>

namespace kestrine::simulator {

// By the largest of the four elements, so that nothing is divided by what nearly vanishes.
std::array<double, 4> quaternion(const Matrix& a) {
  const double trace = a[0][0] + a[1][1] + a[2][2];
  const std::array squares{trace, a[0][0], a[1][1], a[2][2]};
  const auto largest = static_cast<std::size_t>(std::max_element(squares.begin(), squares.end()) - squares.begin());
  const double x = a[2][1] - a[1][2], y = a[0][2] - a[2][0], z = a[1][0] - a[0][1];
  const double xy = a[0][1] + a[1][0], xz = a[0][2] + a[2][0], yz = a[1][2] + a[2][1];
  const double own = 1 + (largest == 0 ? trace : 2 * squares[largest] - trace);
  const std::array<std::array<double, 4>, 4> rows{
      {{own, x, y, z}, {x, own, xy, xz}, {y, xy, own, yz}, {z, xz, yz, own}}};
  auto result = rows[largest];
  const double factor = (result[0] < 0 ? -0.5 : 0.5) / std::sqrt(own);
  for (double& each : result) each *= factor;
  return result;
}

Bytes probe_position_packet(Tracker& tracker, const Vector& tip) {
  const ProbeTools tools = probe_tools(tracker);
  ProbePosResultT position;
  fill_tip(position, tools);
  fill_pose(position, tracker.frame(), ProbeView(tools, tip).displaced({}, {}));
  Bytes packet = packed(position);
  begin_data_packet(packet, VL_DT_ProbePosResult, VL_RS_AllOK);
  return packet;
}

void fill_position_expectation(ProbeStationaryResultT& record, const Uncertainty& spread) {
  record.dAprioriStdDevPosition1 = spread.deviations.x;
  record.dAprioriStdDevPosition2 = spread.deviations.y;
  record.dAprioriStdDevPosition3 = spread.deviations.z;
  record.dAprioriStdDevPositionTotal = spread.total;
  record.dAprioriCovarPosition12 = spread.covariance12;
  record.dAprioriCovarPosition13 = spread.covariance13;
  record.dAprioriCovarPosition23 = spread.covariance23;
}

void fill_expectation(ProbeStationaryResultT& record, const ProbeSpread& spread) {
  fill_position_expectation(record, spread.position);
  record.dAprioriStdDevRotationAngleX = spread.rotation.deviations.x;
  record.dAprioriStdDevRotationAngleY = spread.rotation.deviations.y;
  record.dAprioriStdDevRotationAngleZ = spread.rotation.deviations.z;
  record.dAprioriStdDevRotationAngleTotal = spread.rotation.total;
  record.dAprioriCovarRotationAngleXY = spread.rotation.covariance12;
  record.dAprioriCovarRotationAngleXZ = spread.rotation.covariance13;
  record.dAprioriCovarRotationAngleYZ = spread.rotation.covariance23;
}

}  // namespace kestrine::simulator
