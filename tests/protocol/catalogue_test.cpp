#include "protocol/catalogue.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "kestrine/enums.h"

namespace kestrine::protocol {
namespace {

TEST(Catalogue, FindsWhatLiesDeepInRecordsButNoElements) {
  const auto leaves = leaves_of(*find_type("GetSystemStatusRT"));
  const auto build = std::ranges::find(leaves, "vlVersionNumber.iBuildNumber", &Leaf::path);
  ASSERT_NE(build, leaves.end());
  EXPECT_EQ(build->offset, 40);
  const TypeRow& block = *find_packet(VL_DT_ContinuousProbeMeasResult)->record;
  EXPECT_TRUE(is_element(block.fields.back()));
  for (const Leaf& leaf : leaves_of(block)) EXPECT_LT(leaf.offset, 68) << leaf.path;
}

}  // namespace
}  // namespace kestrine::protocol
