#include "kestrine/records.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstring>
#include <vector>

namespace kestrine {
namespace {

// Bytes that are all different from their neighbours.
std::vector<std::uint8_t> pattern(std::size_t size) {
  std::vector<std::uint8_t> bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(i * 37 + 11);
  return bytes;
}

template <class Record>
class EveryKindOfRecord : public testing::Test {};
using Kinds =
    testing::Types<SystemStatusChangeT, ErrorResponseT, SingleMeasResultT, SingleMeasResult2T, ProbeStationaryResultT,
                   TiltraResultT, ReflectorPosResultT, ProbePosResultT, MultiMeasResultT, MultiMeasResult2T,
                   ProbeContinuousResultT, MeasValueT, MeasValue2T, ProbeMeasValueT, TransformationInputDataT,
                   GridModeDataT, GetSystemStatusRT, GetTrackerDiagnosticsRT, GetCompensations2RT, GetKorv4xxInfoRT,
                   GetTransformationInputParamsRT, GetLongSystemParameterRT, GetStatisticModeRT>;
TYPED_TEST_SUITE(EveryKindOfRecord, Kinds);

TYPED_TEST(EveryKindOfRecord, IsReadFromTheWireAndWrittenBackUnchanged) {
  const std::size_t size = RecordTraits<TypeParam>::header_size;
  const std::vector<std::uint8_t> wire = pattern(size);
  const auto record = read_as<TypeParam>(wire.data());
  if constexpr (std::endian::native == std::endian::little) {
    EXPECT_EQ(std::memcmp(&record, wire.data(), size), 0);
  }
  std::vector<std::uint8_t> back(size + 1, 0xEE);
  write_record(record, back.data());
  EXPECT_EQ(back[size], 0xEE) << "wrote past the end";
  back.pop_back();
  EXPECT_EQ(back, wire);
}

TEST(Records, BeginAsZeros) {
  const GetReflectorsRT record;
  const std::array<std::uint8_t, sizeof record> zeros{};
  EXPECT_EQ(std::memcmp(&record, zeros.data(), sizeof record), 0);
}

TEST(Records, KeepTextsThatFillTheirArrayAndFlagsOfAnyValue) {
  GetCompensationsRT record;
  for (char16_t& unit : record.cTrackerCompensationName) unit = u'\u4E00';
  record.bHasMeasurementCameraMounted = 0x8000;
  std::vector<std::uint8_t> wire(sizeof record);
  write_record(record, wire.data());
  const auto copy = read_as<GetCompensationsRT>(wire.data());
  EXPECT_EQ(std::u16string_view(copy.cTrackerCompensationName, 32), std::u16string(32, u'\u4E00'));
  EXPECT_EQ(copy.cTrackerCompensationComment[0], u'\0');
  EXPECT_EQ(copy.bHasMeasurementCameraMounted, 0x8000);
}

TEST(Records, PassUnknownEnumerationValuesOn) {
  std::array<std::uint8_t, 12> wire{12, 0, 0, 0, 8, 0, 0, 0, 0xF0, 0xFF, 0xFF, 0xFF};
  EXPECT_EQ(static_cast<std::int32_t>(read_as<SystemStatusChangeT>(wire.data()).systemStatusChange), -16);
}

TEST(Elements, FollowTheHeaderBackToBack) {
  std::vector<std::uint8_t> packet(48 + 3 * 36);
  wire::store_f64(&packet[132], 2.5);
  EXPECT_EQ(double{read_element<MultiMeasResultT>(packet.data(), 2).dVal1}, 2.5);
  std::vector<std::uint8_t> probe(280);
  wire::store_f64(&probe[88], -1.5);
  EXPECT_EQ(double{read_element<ProbeContinuousResultT>(probe.data(), 0).dPosition1}, -1.5);
  EXPECT_EQ(RecordTraits<MultiMeasResult2T>::header_size, 48u);
  EXPECT_EQ(sizeof(RecordTraits<MultiMeasResult2T>::Element), 92u);
}

}  // namespace
}  // namespace kestrine
