// A call's outcome is its own, whatever handlers do before it returns.
#include "client_test.h"
#include "kestrine/host.h"
#include "protocol/event_numbers.h"

namespace kestrine::test {
namespace {

class OwnOutcome : public BothBehaviours {};

TEST_P(OwnOutcome, IsNotThatOfACallWhichItsOwnAnswersHandlerMakes) {
  start(kBoth);
  for (const bool refused : {false, true}) {
    std::int32_t reflector = 0, probe = 0;
    async_listener->handler = [&](DISPID) {
      async_listener->handler = {};
      peer.send(answer_with(VL_C_GetProbe, 2));
      EXPECT_EQ(told(commands->GetProbe(&probe)), "ok");
      return S_OK;
    };
    peer.send(refused ? answer(VL_C_GetReflector, 1) : answer_with(VL_C_GetReflector, 1));
    EXPECT_EQ(told(commands->GetReflector(&reflector)).substr(0, 11), refused ? "80004005 1 " : "ok");
    EXPECT_TRUE(probe == 2 && (refused || reflector == 1)) << probe << " and " << reflector;
  }
}

TEST_P(OwnOutcome, IsReturnedBeforeHeldBackEventsAreFired) {
  start();
  bool returned = false;
  sync_listener->handler = [&](DISPID id) {
    if (id == protocol::sync_event::ExceptionEvent) return S_OK;
    EXPECT_TRUE(returned);
    VL_TrackerStatus status{};
    peer.send(answer_with(VL_C_GetTrackerStatus, 1));
    EXPECT_EQ(told(commands->GetTrackerStatus(&status)), "ok");
    sync_listener->handler = {};
    return S_OK;
  };
  // An error packet asks for the flush before the call has returned.
  peer.send(status_change(17) + answer(VL_C_Initialize, 3, VL_DT_Error));
  const std::string outcome = told(commands->Initialize());
  returned = true;
  EXPECT_EQ(outcome.substr(0, 11), "80004005 3 ");
  heard();
  host::dispatch();
  EXPECT_EQ(heard().front(), "sync StatusChangeEvent 17");
}

INSTANTIATE_TEST_SUITE_P(Behaviour, OwnOutcome, kBehaviours, behaviour_name);

}  // namespace
}  // namespace kestrine::test
