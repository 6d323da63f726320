#include "cli/points/packets.h"

#include <gtest/gtest.h>

#include <cmath>

#include "cli/common/failure.h"
#include "cli/output/point_files.h"
#include "kestrine/records.h"
#include "points.h"

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

// All figures of all points, one row each.
std::string rows_of(const std::vector<std::uint8_t>& packet) {
  const auto [points, attitudes] = read_stream_block(packet);
  auto measurement = measurement_of(Kind::kStream, points);
  measurement.extended = true;
  measurement.attitudes = !attitudes.empty();
  const std::string text = csv_rows(measurement, 0, points, attitudes);
  return text.substr(text.find('\n') + 1);
}

TEST(StreamBlocks, give_all_figures_of_their_points_in_order_with_the_trackers_time) {
  const std::vector<MeasValueT> first{{VL_MS_AllOK, 12, 250000, 1, 2, 3}, {VL_MS_SpeedWarning, 13, 1, 4, 5, 6}};
  EXPECT_EQ(rows_of(block_of<MultiMeasResultT>(VL_DT_MultiMeasResult, first, 2)),
            "1,12.25,1,2,3,0,0,0,0,0,0,0,21,0,0,0\n2,13.000001,4,5,6,0,0,0,0,0,0,0,21,0,0,1\n");
  const std::vector<MeasValue2T> second{{VL_MS_AllOK, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}};
  EXPECT_EQ(rows_of(block_of<MultiMeasResult2T>(VL_DT_MultiMeasResult2, second, 1)),
            "1,0,1,2,3,4,5,6,7,8,9,10,21,0,0,0\n");
  // clang-format off
  const std::vector<ProbeMeasValueT> probe{{}, {VL_MS_AllOK, VL_TS_TriggerPressed, 4, 7, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9,
                                                10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24}};
  // clang-format on
  EXPECT_EQ(rows_of(block_of<ProbeContinuousResultT>(VL_DT_ContinuousProbeMeasResult, probe, 2)),
            "1,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,21,0,0,0\n"
            "2,7,1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20,21,4,1,21,0,0,0\n");
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
