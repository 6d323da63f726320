// Counts the allocations of the whole process, so it is a program of its own.
#include "allocations.h"
#include "client_test.h"

namespace kestrine::test {
namespace {

class ReceiveAllocationTest : public ClientTest {};

TEST_F(ReceiveAllocationTest, ReceivingMessagesAndTimersAllocateNothingOnceWarm) {
  make(kBoth);
  // Nobody listens: what events hand to their sinks is another matter.
  const auto leave = [](IUnknown& object, const IID& events) {
    Pointer<IConnectionPoint> point;
    ASSERT_EQ(Pointer<IUnknown>(&object).query<IConnectionPointContainer>()->FindConnectionPoint(events, point.put()),
              S_OK);
    ASSERT_EQ(point->Unadvise(1), S_OK);
  };
  leave(*commands, DIID__ILTCommandSyncEvents);
  leave(*async_commands, DIID__ILTCommandAsyncEvents);
  connect();

  Bytes stream = answer(VL_C_GoBirdBath, 0) + status_change(26);
  for (const auto& [size, type] : {std::pair{156, VL_DT_SingleMeasResult},
                                   {4'000, VL_DT_MultiMeasResult},
                                   {20'000, VL_DT_ContinuousProbeMeasResult},
                                   {40, VL_DT_TiltraResult},
                                   {36, VL_DT_ReflectorPosResult},
                                   {108, VL_DT_ProbePosResult}}) {
    stream = stream + packet(size, type);
  }
  const Bytes last = answer(VL_C_GetTrackerStatus, 0);
  stream = stream + last;
  const auto round = [&] {
    const std::span answered(connection->buffers().for_type(VL_DT_Command).bytes, 12);
    answered[8] = 0;
    peer.send(stream);
    platform::set_timer(generation.window(), 9, 60'000);
    for (int i = 0; i < 5; ++i) platform::post_message(generation.window(), 1, 0, 0);
    while (get_i32(answered, 8) != VL_C_GetTrackerStatus) {
      platform::wait_slice();
      platform::Message message;
      while (platform::peek_message() && platform::get_message(message)) platform::dispatch_message(message);
    }
    platform::kill_timer(generation.window(), 9);
  };
  for (int i = 0; i < 5; ++i) round();
  const std::size_t before = test::allocations();
  for (int i = 0; i < 500; ++i) round();
  EXPECT_EQ(test::allocations(), before);
}

}  // namespace
}  // namespace kestrine::test
