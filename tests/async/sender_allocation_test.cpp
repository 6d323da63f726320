// Counts the allocations of the whole process, so it is a program of its own.
#include "allocations.h"
#include "sender_test.h"

namespace kestrine::test {
namespace {

class SenderAllocationTest : public SenderTest {};

TEST_F(SenderAllocationTest, SendingAllocatesNothing) {
  start();
  const auto round = [&] {
    return std::max({senders->ReleaseMotors(), senders->SwitchLaser(VARIANT_TRUE),
                     senders->GoPosition(1.0, 2.0, 3.0, VARIANT_FALSE),
                     senders->SetTransformationInputParams(static_cast<VL_TransResultType>(1), 1, 2, 3, 4, 5, 6, 7, 8,
                                                           9, 10, 11, 12, 13, 14),
                     senders->MoveHV(500, -500), senders->MoveLeft(), senders->MeasureStationaryPoint()});
  };
  ASSERT_EQ(round(), S_OK);  // drops the synchronous object
  const std::size_t before = allocations();
  for (int i = 0; i < 100; ++i) ASSERT_EQ(round(), S_OK);
  EXPECT_GT(before, 0u);
  EXPECT_EQ(allocations(), before);
}

}  // namespace
}  // namespace kestrine::test
