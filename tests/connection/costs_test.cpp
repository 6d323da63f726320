// What sending and receiving cost: counts the allocations and the calls of the system of its thread, so it is a program
// of its own.
#include "client_test.h"
#include "failing_calls.h"
#include "kestrine/events.h"
#include "kestrine/host.h"
#include "kestrine/subscription.h"

namespace kestrine::test {
namespace {

class Costs : public ClientTest {
 protected:
  Costs() : ClientTest(connection::kModernRules) {}

  static std::size_t calls_of_all(std::initializer_list<const char*> names) {
    std::size_t all = 0;
    for (const char* name : names) all += calls_of(name);
    return all;
  }
};

TEST_F(Costs, OfReceivingAreNoAllocationOnceWarmAlsoOfMessagesAndTimers) {
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
  watch_calls();
  for (int i = 0; i < 500; ++i) round();
  EXPECT_EQ(calls_of_all({kAllocation, kTextCopy}), 0u);
}

TEST_F(Costs, OfSendingAreOneSendAndNoAllocation) {
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

TEST_F(Costs, OfACallAreOneSendOneWaitAndOneRead) {
  constexpr std::size_t kCalls = 100;
  start();
  peer.serve([](const Bytes& request) { return answer(get_i32(request, 8), 0); });
  ASSERT_EQ(commands->ReleaseMotors(), S_OK);
  watch_calls();
  for (std::size_t i = 0; i < kCalls; ++i) ASSERT_EQ(commands->ReleaseMotors(), S_OK);
  EXPECT_EQ(calls_of("send"), kCalls);
  // A slice may end before a busy machine answers.
  EXPECT_LT(calls_of_all({"recv", "recvmsg", "epoll_wait"}), 2 * kCalls + kCalls / 2);
  EXPECT_EQ(calls_of_all({"poll", "ioctl", "setsockopt", "getsockopt", "epoll_ctl"}), 0u);
}

TEST_F(Costs, OfReceivingAreOneReadForHundredsOfSmallPacketsAndForALargeOne) {
  start();
  for (const std::size_t packets : {1'000u, 20u}) {
    const bool small = packets == 1'000;
    const Bytes one = small ? packet(36, VL_DT_ReflectorPosResult) : packet(100'000, VL_DT_MultiMeasResult);
    Bytes stream = one;
    for (std::size_t i = 1; i < packets; ++i) stream.insert(stream.end(), one.begin(), one.end());
    heard();
    peer.run([&](ScriptedPeer& server) { server.send(stream); });
    watch_calls();
    heard_in_time(packets);
    EXPECT_LT(calls_of_all({"recv", "recvmsg"}), small ? packets / 10 : 2 * packets);
    peer.finish();
  }
}

}  // namespace
}  // namespace kestrine::test
