#include "cli/stream_block.h"

#include "cli/failure.h"
#include "kestrine/records.h"

namespace kestrine::cli {
namespace {

constexpr double kMicrosecond = 1e-6;

Point point_of(const MeasValueT& value) {
  Point point;
  point.seconds = value.lTime1 + value.lTime2 * kMicrosecond;
  point.position = {value.dVal1, value.dVal2, value.dVal3};
  point.status = value.status;
  return point;
}

Point point_of(const MeasValue2T& value) {
  Point point;
  point.seconds = value.lTime1 + value.lTime2 * kMicrosecond;
  point.position = {value.dVal1, value.dVal2, value.dVal3};
  point.deviation = {value.dAprioriStd1, value.dAprioriStd2, value.dAprioriStd3};
  point.deviation_total = value.dAprioriStdTotal;
  point.covariance = {value.dAprioriCovar12, value.dAprioriCovar13, value.dAprioriCovar23};
  point.status = value.status;
  return point;
}

template <class Record>
std::vector<Point> read_points(std::span<const std::uint8_t> packet) {
  using Traits = RecordTraits<Record>;
  using Element = typename Traits::Element;
  constexpr std::size_t kElementSize = RecordTraits<Element>::size;
  if (packet.size() < Traits::header_size) throw Failure("the tracker sent a block of points that is cut off");
  Record block;
  read_record(packet.data(), block);
  const std::size_t held = (packet.size() - Traits::header_size) / kElementSize;
  if (block.lNumberOfResults < 0 || static_cast<std::size_t>(block.lNumberOfResults) > held) {
    throw Failure("the tracker sent a block of " + std::to_string(held) + " points that announces " +
                  std::to_string(block.lNumberOfResults));
  }
  std::vector<Point> points;
  points.reserve(static_cast<std::size_t>(block.lNumberOfResults));
  for (std::int32_t i = 0; i < block.lNumberOfResults; ++i) {
    const std::size_t offset = Traits::header_size + static_cast<std::size_t>(i) * kElementSize;
    Element element;
    read_record(packet.data() + offset, element);
    Point point = point_of(element);
    if (!has_position(point)) throw Failure("the tracker sent a point without a position");
    point.temperature = block.dTemperature;
    point.pressure = block.dPressure;
    point.humidity = block.dHumidity;
    points.push_back(point);
  }
  return points;
}

}  // namespace

std::vector<Point> read_stream_block(std::span<const std::uint8_t> packet) {
  if (packet.size() < RecordTraits<PacketHeaderT>::size) throw Failure("the tracker sent a packet without a header");
  PacketHeaderT header;
  read_record(packet.data(), header);
  switch (header.type) {
    case VL_DT_MultiMeasResult:
      return read_points<MultiMeasResultT>(packet);
    case VL_DT_MultiMeasResult2:
      return read_points<MultiMeasResult2T>(packet);
    default:
      throw Failure("the tracker sent something else in place of a block of points");
  }
}

}  // namespace kestrine::cli
