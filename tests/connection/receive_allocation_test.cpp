// Counts the allocations of the whole process, so it is a program of its own.
#include "allocations.h"
#include "client_test.h"
#include "kestrine/events.h"
#include "kestrine/host.h"
#include "kestrine/subscription.h"

namespace kestrine::test {
namespace {

class ReceiveAllocationTest : public ClientTest {};

TEST_F(ReceiveAllocationTest, ReceivingMessagesAndTimersAllocateNothingOnceWarm) {
  connection = Pointer<Connect>::adopt(new Connect(keep_generation));
  Pointer<IUnknown> sync, async;
  ASSERT_EQ(connection->get_ILTCommandSync(sync.put()), S_OK);
  ASSERT_EQ(connection->get_ILTCommandAsync(async.put()), S_OK);
  const Subscription heard(*sync, DIID__ILTCommandSyncEvents, *Pointer<SyncEvents>::adopt(new SyncEvents));
  connect();

  Bytes stream;
  for (std::int32_t type = VL_DT_Command; type <= VL_DT_ProbePosResult; ++type) stream = stream + packet(400, type);
  stream = stream + packet(20'000, VL_DT_ContinuousProbeMeasResult);
  const Bytes last = answer(VL_C_GetTrackerStatus, 0);
  stream = stream + last;
  const auto round = [&] {
    const std::span answered(connection->buffers().for_type(VL_DT_Command).bytes, 12);
    answered[8] = 0;
    peer.send(stream);
    platform::set_timer(generation.window(), 9, 60'000);
    for (int i = 0; i < 5; ++i) platform::post_message(generation.window(), 1, 0, 0);
    while (get_i32(answered, 8) != VL_C_GetTrackerStatus) {
      platform::wait_slice(true);
      host::dispatch();
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
