#include "protocol/codec.h"

#include <gtest/gtest.h>

#include <bit>
#include <vector>

namespace kestrine::protocol {
namespace {

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

}  // namespace
}  // namespace kestrine::protocol
