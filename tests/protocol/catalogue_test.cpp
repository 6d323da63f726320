#include "protocol/catalogue.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "kestrine/enums.h"

namespace kestrine::protocol {
namespace {

std::size_t size_of(const Value& value) {
  if (value.type == ValueType::kRecord) return value.named->size;
  return value.type == ValueType::kDouble ? 8 : value.type == ValueType::kText ? 2u * value.count : 4;
}

const TypeRow& source_of(const MemberRow& row) {
  if (row.source == Source::kAnswer) return *row.command->answer;
  const bool is_probe = row.source == Source::kMeasurement && row.result_type == -1;
  const std::int32_t type = row.source == Source::kTiltra ? VL_DT_TiltraResult
                            : is_probe                    ? VL_DT_StationaryProbeMeasResult
                                                          : row.result_type;
  return *find_packet(type)->record;
}

TEST(Catalogue, KeepsEveryParameterAndOutputInsideItsPacket) {
  for (const auto rows : {sync_methods(), async_methods()}) {
    for (const MemberRow& row : rows) {
      if (row.kind == MemberKind::kPut) continue;
      for (const Value& value : row.values) {
        const std::size_t limit = value.out ? source_of(row).size : row.command->request_size;
        EXPECT_LE(value.offset + size_of(value), limit) << row.name << "." << value.name;
      }
    }
  }
}

const Leaf* find_leaf(const std::vector<Leaf>& leaves, std::string_view path) {
  const auto found = std::ranges::find(leaves, path, &Leaf::path);
  return found == leaves.end() ? nullptr : &*found;
}

TEST(Catalogue, FindsWhatLiesDeepInRecords) {
  const struct {
    const char* record;
    const char* path;
    std::uint16_t offset;
  } cases[] = {
      {"SingleMeasResultT", "dVal1", 20},
      {"SingleMeasResult2T", "dPointingErrorH", 100},
      {"ProbeStationaryResultT", "dPosition1", 48},
      {"GetSystemStatusRT", "vlVersionNumber.iBuildNumber", 40},
      {"GetSystemStatusRT", "packetInfo.packetHeader.type", 4},
      {"GetStillImageRT", "cFileStart", 24},
      {"MultiMeasResult2T", "packetInfo.status", 8},
  };
  for (const auto& [record, path, offset] : cases) {
    const auto leaves = leaves_of(*find_type(record));
    ASSERT_NE(find_leaf(leaves, path), nullptr) << record << "." << path;
    EXPECT_EQ(find_leaf(leaves, path)->offset, offset) << record << "." << path;
  }
  EXPECT_EQ(find_leaf(leaves_of(*find_type("GetCompensations2RT")), "cADMCompensationComment")->count, 128);
  EXPECT_EQ(find_leaf(leaves_of(*find_type("SingleMeasResultT")), "bIsTryMode")->type, ValueType::kFlag);
}

TEST(Catalogue, LeavesElementsOutOfTheLeaves) {
  const TypeRow& block = *find_packet(VL_DT_ContinuousProbeMeasResult)->record;
  EXPECT_TRUE(is_element(block.fields.back()));
  EXPECT_EQ(block.fields.back().offset, 68);
  EXPECT_EQ(block.fields.back().named->size, 212);
  for (const Leaf& leaf : leaves_of(block)) EXPECT_LT(leaf.offset, 68) << leaf.path;
}

TEST(Catalogue, HasNoRowForWhatThereIsNot) {
  EXPECT_EQ(find_type("NoSuchT"), nullptr);
  EXPECT_EQ(find_command(-1), nullptr);
  EXPECT_EQ(find_command(999), nullptr);
  EXPECT_EQ(find_command(50)->answer, nullptr);
  EXPECT_EQ(find_packet(12), nullptr);
}

}  // namespace
}  // namespace kestrine::protocol
