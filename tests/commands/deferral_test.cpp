// Status changes that arrive while a call waits.
#include "client_test.h"
#include "kestrine/host.h"

namespace kestrine::test {
namespace {

class Deferral : public ClientTest {
 protected:
  static std::string change(std::int32_t number) { return "sync StatusChangeEvent " + std::to_string(number); }
  std::int64_t ask_to_flush() { return platform::send_message(generation.window(), connection::kFlushMessage, 0, 0); }
  Lines flushed() {
    host::dispatch();
    return heard();
  }
};

TEST_F(Deferral, HoldsBackEveryChangeButTheImmediateOnes) {
  make();
  for (std::int32_t number = -1; number <= 1000; ++number) {
    const bool immediate = (number >= 25 && number <= 27) || (number >= 99 && number <= 104) ||
                           (number >= 110 && number <= 112) || (number >= 120 && number <= 122) ||
                           (number >= 130 && number <= 132) || (number >= 140 && number <= 142) || number == 997 ||
                           number == 998;
    EXPECT_EQ(commands::is_immediate_status_change(number), immediate) << number;
  }
}

TEST_F(Deferral, FiresHeldBackChangesInOrderAfterTheCall) {
  start(kBoth);
  peer.send(status_change(17) + status_change(26) + status_change(5) + answer(VL_C_Initialize, 0));
  EXPECT_EQ(told(commands->Initialize()), "ok");
  // The asynchronous interface hears of every change at once.
  EXPECT_EQ(heard(), (Lines{"async StatusChangeEvent 17", change(26), "async StatusChangeEvent 26",
                            "async StatusChangeEvent 5", "async CommandCompletedData 7"}));
  EXPECT_EQ(flushed(), (Lines{change(17), change(5)}));
  deliver(status_change(17));
  EXPECT_EQ(heard(), (Lines{change(17), "async StatusChangeEvent 17"}));
}

TEST_F(Deferral, QueuesALaterChangeBehindThoseHeldBack) {
  start();
  peer.send(status_change(17) + answer(VL_C_Initialize, 0));
  commands->Initialize();
  deliver(status_change(5));
  deliver(status_change(27));
  EXPECT_EQ(heard(), Lines{change(27)});
  EXPECT_EQ(flushed(), (Lines{change(17), change(5)}));
}

TEST_F(Deferral, StopsTheFlushForACallStartedByAHandler) {
  start();
  Lines at_end_of_call;
  sync_listener->handler = [&](DISPID) {
    sync_listener->handler = {};
    peer.send(answer(VL_C_ReleaseMotors, 0));
    later([&] { EXPECT_EQ(ask_to_flush(), 1); });  // finds a call waiting
    EXPECT_EQ(told(commands->ReleaseMotors()), "ok");
    at_end_of_call = heard();
    EXPECT_EQ(flushed(), Lines{change(5)}) << "by a loop in the handler";
    return S_OK;
  };
  peer.send(status_change(17) + status_change(5) + answer(VL_C_Initialize, 0));
  commands->Initialize();
  EXPECT_EQ(flushed(), Lines{});
  EXPECT_EQ(at_end_of_call, Lines{change(17)});
}

TEST_F(Deferral, CancelledAndUnfinishedCallsLeaveTheRestForTheNextFlush) {
  start();
  later([&] {
    deliver(status_change(5));
    ask_to_flush();
    throw 1;
  });
  EXPECT_THROW(commands->Initialize(), int);
  EXPECT_FALSE(engine().is_answer_pending());
  EXPECT_EQ(flushed(), Lines{change(5)});
  peer.send(status_change(17) + status_change(998));
  EXPECT_EQ(told(commands->Initialize()).substr(0, 11), "80004005 36");
  EXPECT_FALSE(connection->link().mark_ended());
  EXPECT_EQ(heard().front(), change(998));
  EXPECT_EQ(flushed(), Lines{change(17)});
}

}  // namespace
}  // namespace kestrine::test
