// Counts the allocations of its thread and its calls of the system, so it is a program of its own.
#include "client_test.h"
#include "failing_calls.h"

namespace kestrine::test {
namespace {

class SenderAllocationTest : public ClientTest {};

TEST_F(SenderAllocationTest, SendingIsOneCallAndAllocatesNothing) {
  start(kAsync);
  constexpr std::size_t kRequests = 7;
  const auto round = [&] {
    return async_commands->ReleaseMotors() | async_commands->SwitchLaser(VARIANT_TRUE) |
           async_commands->GoPosition(1.0, 2.0, 3.0, VARIANT_FALSE) |
           async_commands->SetTransformationInputParams(static_cast<VL_TransResultType>(1), 1, 2, 3, 4, 5, 6, 7, 8, 9,
                                                        10, 11, 12, 13, 14) |
           async_commands->MoveHV(500, -500) | async_commands->MoveLeft() | async_commands->MeasureStationaryPoint();
  };
  ASSERT_EQ(round(), S_OK);  // drops the synchronous object
  watch_calls();
  for (int i = 0; i < 100; ++i) ASSERT_EQ(round(), S_OK);
  EXPECT_EQ(calls_of(kAllocation), 0u);
  EXPECT_EQ(calls_of("send"), 100 * kRequests);
}

}  // namespace
}  // namespace kestrine::test
