#include "cli/points/packets.h"

#include "cli/common/failure.h"
#include "kestrine/continuous.h"

namespace kestrine::cli {
namespace {

constexpr double kMicrosecond = 1e-6;

void fill(Point& point, const MeasValueT& value) {
  point.position = {value.dVal1, value.dVal2, value.dVal3};
}

void fill(Point& point, const MeasValue2T& value) {
  point.position = {value.dVal1, value.dVal2, value.dVal3};
  point.deviation = {value.dAprioriStd1, value.dAprioriStd2, value.dAprioriStd3};
  point.deviation_total = value.dAprioriStdTotal;
  point.covariance = {value.dAprioriCovar12, value.dAprioriCovar13, value.dAprioriCovar23};
}

void fill(Point& point, const ProbeMeasValueT& value) {
  point.position = {value.dPosition1, value.dPosition2, value.dPosition3};
  point.deviation = {value.dStdDevPosition1, value.dStdDevPosition2, value.dStdDevPosition3};
  point.deviation_total = value.dStdDevPositionTotal;
  point.covariance = {value.dCovarPosition12, value.dCovarPosition13, value.dCovarPosition23};
}

Attitude attitude_of(const ProbeMeasValueT& value) {
  Attitude attitude;
  attitude.quaternion = {value.dQuaternion0, value.dQuaternion1, value.dQuaternion2, value.dQuaternion3};
  attitude.angles = {value.dRotationAngleX, value.dRotationAngleY, value.dRotationAngleZ};
  attitude.deviation = {value.dStdDevRotationAngleX, value.dStdDevRotationAngleY, value.dStdDevRotationAngleZ};
  attitude.deviation_total = value.dStdDevRotationAngleTotal;
  attitude.rotation_status = value.lRotationStatus;
  attitude.trigger = value.triggerStatus;
  return attitude;
}

template <class Packet>
StreamBlock read_block(std::span<const std::uint8_t> packet) {
  const auto view = ContinuousView<Packet>::of(packet);
  if (!view) throw Failure("the tracker sent a block that does not hold the points it announces");
  const Packet header = view->header();
  StreamBlock block;
  block.points.reserve(view->size());
  for (const auto& value : *view) {
    Point point;
    fill(point, value);
    if (!has_position(point)) throw Failure("the tracker sent a point without a position");
    point.seconds = value.lTime1 + value.lTime2 * kMicrosecond;
    point.status = value.status;
    point.temperature = header.dTemperature;
    point.pressure = header.dPressure;
    point.humidity = header.dHumidity;
    block.points.push_back(point);
    if constexpr (std::is_same_v<Packet, ProbeContinuousResultT>) block.attitudes.push_back(attitude_of(value));
  }
  return block;
}

}  // namespace

StreamBlock read_stream_block(std::span<const std::uint8_t> packet) {
  if (packet.size() < RecordTraits<PacketHeaderT>::size) throw Failure("the tracker sent a packet without a header");
  switch (read_as<PacketHeaderT>(packet.data()).type) {
    case VL_DT_MultiMeasResult:
      return read_block<MultiMeasResultT>(packet);
    case VL_DT_MultiMeasResult2:
      return read_block<MultiMeasResult2T>(packet);
    case VL_DT_ContinuousProbeMeasResult:
      return read_block<ProbeContinuousResultT>(packet);
    default:
      throw Failure("the tracker sent something else in place of a block of points");
  }
}

}  // namespace kestrine::cli
