#include "protocol/codec.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstring>
#include <vector>

#include "kestrine/records.h"

namespace kestrine::protocol {
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

// Of those whose fields fill them: a last single byte is followed by padding, elements by others of their kind.
TEST(Codec, DecodesEveryRecordToItsPlaceInMemoryAndEncodesItWithItsFlagsMadeZeroOrOne) {
  if constexpr (std::endian::native != std::endian::little) GTEST_SKIP();
  int records = 0;
  for (const TypeRow& record : types()) {
    if (record.kind != TypeKind::kRecord || record.fields.back().count != 0) continue;
    const auto bytes = pattern(record.size);
    std::vector<std::uint8_t> memory(record.size), wire(record.size);
    decode_record(record, bytes.data(), memory.data());
    EXPECT_EQ(memory, bytes) << record.name;
    encode_record(record, bytes.data(), wire.data());
    for (const Leaf& leaf : leaves_of(record)) {
      if (leaf.type == ValueType::kFlag) wire::store_i32(&memory[leaf.offset], 1);
    }
    EXPECT_EQ(wire, memory) << record.name;
    ++records;
  }
  EXPECT_GT(records, 100);
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

}  // namespace
}  // namespace kestrine::protocol
