#include "cli/points/packets.h"

#include <gtest/gtest.h>

#include <cmath>

#include "cli/common/failure.h"
#include "kestrine/records.h"

namespace kestrine::cli {
namespace {

template <class Record, class Element>
std::vector<std::uint8_t> block_of(VL_DataType type, const std::vector<Element>& elements, std::int32_t announced) {
  constexpr std::size_t kHeader = RecordTraits<Record>::header_size;
  std::vector<std::uint8_t> bytes(kHeader + elements.size() * sizeof(Element));
  Record block;
  block.packetInfo.packetHeader = {static_cast<std::int32_t>(bytes.size()), type};
  block.lNumberOfResults = announced;
  block.dTemperature = 21;
  write_record(block, bytes.data());
  for (std::size_t i = 0; i < elements.size(); ++i) {
    write_record(elements[i], bytes.data() + kHeader + i * sizeof(Element));
  }
  return bytes;
}

TEST(StreamBlocks, give_their_points_in_order_with_the_trackers_time) {
  const std::vector<MeasValueT> values{{VL_MS_AllOK, 12, 250000, 1, 2, 3}, {VL_MS_SpeedWarning, 13, 1, 4, 5, 6}};
  const auto [points, attitudes] = read_stream_block(block_of<MultiMeasResultT>(VL_DT_MultiMeasResult, values, 2));
  ASSERT_EQ(points.size(), 2u);
  EXPECT_TRUE(attitudes.empty());
  EXPECT_DOUBLE_EQ(points[0].seconds, 12.25);
  EXPECT_EQ(points[0].position, (Vector{1, 2, 3}));
  EXPECT_EQ(points[0].temperature, 21);
  EXPECT_DOUBLE_EQ(points[1].seconds, 13.000001);
  EXPECT_EQ(points[1].position, (Vector{4, 5, 6}));
  EXPECT_EQ(points[1].status, VL_MS_SpeedWarning);
}

TEST(StreamBlocks, of_the_second_layout_bring_deviations_and_covariances) {
  const std::vector<MeasValue2T> values{{VL_MS_AllOK, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}};
  const auto points = read_stream_block(block_of<MultiMeasResult2T>(VL_DT_MultiMeasResult2, values, 1)).points;
  ASSERT_EQ(points.size(), 1u);
  EXPECT_EQ(points[0].deviation, (Vector{4, 5, 6}));
  EXPECT_EQ(points[0].deviation_total, 7);
  EXPECT_EQ(points[0].covariance, (Vector{8, 9, 10}));
}

TEST(StreamBlocks, of_the_probe_bring_its_attitude) {
  ProbeMeasValueT value{};
  value.triggerStatus = VL_TS_TriggerPressed;
  value.lRotationStatus = 4;
  value.lTime1 = 7;
  value.dPosition3 = 3;
  value.dCovarPosition23 = 23;
  value.dQuaternion0 = 1;
  value.dQuaternion3 = 0.25;
  value.dRotationAngleY = -90;
  value.dStdDevRotationAngleZ = 0.01;
  value.dStdDevRotationAngleTotal = 0.02;
  const auto [points, attitudes] = read_stream_block(block_of<ProbeContinuousResultT>(
      VL_DT_ContinuousProbeMeasResult, std::vector<ProbeMeasValueT>{ProbeMeasValueT{}, value}, 2));
  ASSERT_EQ(points.size(), 2u);
  ASSERT_EQ(attitudes.size(), 2u);
  EXPECT_EQ(points[1].seconds, 7);
  EXPECT_EQ(points[1].position, (Vector{0, 0, 3}));
  EXPECT_EQ(points[1].covariance, (Vector{0, 0, 23}));
  EXPECT_EQ(points[1].temperature, 21);
  EXPECT_EQ(attitudes[1].quaternion, (std::array<double, 4>{1, 0, 0, 0.25}));
  EXPECT_EQ(attitudes[1].angles, (Vector{0, -90, 0}));
  EXPECT_EQ(attitudes[1].deviation, (Vector{0, 0, 0.01}));
  EXPECT_EQ(attitudes[1].deviation_total, 0.02);
  EXPECT_EQ(attitudes[1].rotation_status, 4);
  EXPECT_EQ(attitudes[1].trigger, 1);
}

TEST(StreamBlocks, that_hold_less_than_they_announce_or_something_else_are_refused) {
  const std::vector<MeasValueT> values(3);
  const auto whole = block_of<MultiMeasResultT>(VL_DT_MultiMeasResult, values, 3);
  EXPECT_EQ(read_stream_block(whole).points.size(), 3u);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    // A copy of that very size, so that a checker of memory sees a read past its end.
    const std::vector<std::uint8_t> cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_THROW(read_stream_block(cut), Failure) << size;
  }
  for (const std::int32_t announced : {-1, 4, 0x7FFFFFFF}) {
    EXPECT_THROW(read_stream_block(block_of<MultiMeasResultT>(VL_DT_MultiMeasResult, values, announced)), Failure);
  }
  EXPECT_THROW(read_stream_block(block_of<MultiMeasResultT>(VL_DT_SingleMeasResult, values, 3)), Failure);
  for (const double wrong : {std::nan(""), -1e300}) {
    const std::vector<MeasValueT> point{{VL_MS_AllOK, 0, 0, 1, wrong, 3}};
    EXPECT_THROW(read_stream_block(block_of<MultiMeasResultT>(VL_DT_MultiMeasResult, point, 1)), Failure);
  }
}

}  // namespace
}  // namespace kestrine::cli
