#include "protocol/codec.h"

#include <gtest/gtest.h>

#include <bit>
#include <map>
#include <string>
#include <vector>

#include "kestrine/records.h"
#include "protocol/requests.h"

namespace kestrine::protocol {
namespace {

std::string hex(const Request& request) {
  std::string text;
  for (std::size_t i = 0; i < request.size; ++i) {
    constexpr char kDigits[] = "0123456789abcdef";
    if (i > 0 && i % 4 == 0) text += ' ';
    text += {kDigits[request.bytes[i] >> 4], kDigits[request.bytes[i] & 15]};
  }
  return text;
}

std::string zeros(int words) {
  std::string text;
  for (int i = 0; i < words; ++i) text += " 00000000";
  return text;
}

TEST(Requests, CarryTheirSizeTheirCodeAndTheirParametersInOrder) {
  // 1.0, 2.0, 0.5 and -1.0 as little-endian doubles.
  const std::string one = " 00000000 0000f03f", two = " 00000000 00000040", half = " 00000000 0000e03f",
                    minus = " 00000000 0000f0bf";
  const std::map<std::string, Request> cases{
      {"0c000000 00000000 07000000", build_Initialize()},
      {"20000000 00000000 05000000 01000000 02000000 00000000 06000000 00000000",
       build_SetUnits(VL_LU_Millimeter, VL_AU_Gon, VL_TU_Celsius, VL_PU_InHg, VL_HU_RH)},
      {"28000000 00000000 37000000" + one + two + half + " 01000000", build_GoPosition(1, 2, 0.5, -1)},
      {"28000000 00000000 4d000000 07000000" + one + two + minus, build_AddDrivePoint(7, 1, 2, -1)},
      {"80000000 00000000 48000000 01000000" + one + zeros(24) + half,
       build_SetTransformationInputParams(VL_TR_AsOrientation, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0.5)},
      {"10000000 00000000 0b000000 01000000", build_SwitchLaser(-1)},
      {"10000000 00000000 0b000000 00000000", build_SwitchLaser(0)},
      {"10000000 00000000 52000000 01000000", build_GetStillImage(VL_SI_Jpeg)},
      {"54000000 00000000 75000000" + one + zeros(14) + two, build_GetErrorEllipsoid(1, 0, 0, 0, 0, 0, 0, 0, 2)},
      {"14000000 00000000 3c000000 9cffffff 64000000", build_MoveHV(-100, 100)},
      {"10000000 00000000 79000000 8c130000", build_GetLongSystemParameter(VL_SP_StableProbingTrigger)},
      {"0c000000 00000000 8c000000", build_GetKorvInfo()},
  };
  for (const auto& [bytes, request] : cases) EXPECT_EQ(hex(request), bytes);
}

std::vector<std::uint8_t> pattern(std::size_t size) {
  std::vector<std::uint8_t> bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(i * 37 + 11);
  return bytes;
}

// Of the records whose fields fill them: a last single byte is followed by padding, elements by others of their kind.
std::vector<const TypeRow*> whole_records() {
  std::vector<const TypeRow*> records;
  for (const TypeRow& row : types()) {
    if (row.kind == TypeKind::kRecord && row.fields.back().count == 0) records.push_back(&row);
  }
  return records;
}

TEST(Codec, DecodesEveryRecordToItsPlaceInMemory) {
  if constexpr (std::endian::native != std::endian::little) GTEST_SKIP();
  EXPECT_GT(whole_records().size(), 100u);
  for (const TypeRow* record : whole_records()) {
    const auto wire = pattern(record->size);
    std::vector<std::uint8_t> memory(record->size);
    decode_record(*record, wire.data(), memory.data());
    EXPECT_EQ(memory, wire) << record->name;
  }
}

TEST(Codec, EncodesEveryRecordWithItsFlagsMadeZeroOrOne) {
  if constexpr (std::endian::native != std::endian::little) GTEST_SKIP();
  for (const TypeRow* record : whole_records()) {
    const auto memory = pattern(record->size);
    std::vector<std::uint8_t> wire(record->size);
    encode_record(*record, memory.data(), wire.data());
    auto expected = memory;
    for (const Leaf& leaf : leaves_of(*record)) {
      if (leaf.type == ValueType::kFlag) wire::store_i32(&expected[leaf.offset], 1);
    }
    EXPECT_EQ(wire, expected) << record->name;
  }
}

TEST(Codec, LeavesWhatFollowsARecordsOwnFieldsAlone) {
  for (const char* name : {"MultiMeasResultT", "GetStillImageRT"}) {
    const TypeRow& record = *find_type(name);
    const auto own = static_cast<std::size_t>(record.fields.back().offset + (is_element(record.fields.back()) ? 0 : 1));
    const auto wire = pattern(record.size);
    std::vector<std::uint8_t> memory(record.size, 0xEE), back(record.size, 0xEE);
    decode_record(record, wire.data(), memory.data());
    encode_record(record, wire.data(), back.data());
    for (const auto& bytes : {memory, back}) {
      EXPECT_EQ(bytes[own - 1], wire[own - 1]) << name;
      EXPECT_EQ(bytes[own], 0xEE) << name;
    }
  }
}

TEST(Requests, CarryAWholeRecordAsItsParametersWithFlagsMadeZeroOrOne) {
  StationaryModeDataT stationary;
  stationary.lMeasTime = 4000;
  stationary.bUseADM = 0x8000;
  GridModeDataT grid;
  grid.dVal3 = 0.5;
  grid.lNumberOfPoints = 9;
  grid.bUseRegion = -1;
  grid.regionType = VL_RT_Box;
  Request first(VL_C_SetStationaryModeParams, 20);
  encode_record(*find_type("StationaryModeDataT"), &stationary, &first.bytes[12]);
  EXPECT_EQ(hex(first), hex(build_SetStationaryModeParams(4000, 1)));
  Request second(VL_C_SetGridModeParams, 48);
  encode_record(*find_type("GridModeDataT"), &grid, &second.bytes[12]);
  EXPECT_EQ(hex(second), hex(build_SetGridModeParams(0, 0, 0.5, 9, 1, VL_RT_Box)));
}

}  // namespace
}  // namespace kestrine::protocol
