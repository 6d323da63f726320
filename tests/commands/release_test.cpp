// What ends a wait, and what does not.
#include "client_test.h"

namespace kestrine::test {
namespace {

std::string failed(std::int32_t status, const std::string& words) {
  return "80004005 " + std::to_string(status) +
         " Kestrine.LTConnect.1: [8] \"Release Motors\" failed  (status:  " + words + ")";
}

class Release : public ClientTest {
 protected:
  // The call ends by the packet itself when its outcome is not that of the answer that comes right behind.
  std::string outcome_of(const Bytes& bytes) {
    peer.send(bytes + answer(VL_C_ReleaseMotors, VL_RS_NotImplemented));
    const std::string outcome = told(commands->ReleaseMotors());
    has_timer = platform::kill_timer(generation.window(), VL_C_ReleaseMotors);
    peer.receive_request();
    receive(status_change(26));  // whatever was left before
    return outcome;
  }

  bool has_timer = false;  // of the call that has ended
};

const std::string kUnknown = failed(36, "Unknown status");
const std::string kBusy = failed(1, "Server Busy");
const std::string kGoesOn = failed(2, "Not Implemented");

struct Arrival {
  const char* what;
  Bytes bytes;
  std::string outcome;         // with events
  std::string silent_outcome;  // with another notification method
  bool leaves_timer = false;   // that of the call, with events
};

std::vector<Arrival> arrivals() {
  Bytes garbage = packet(16, 0);
  put_i32(garbage, 0, 4);
  return {
      {"its answer", answer(VL_C_ReleaseMotors, 0), "ok", "ok"},
      {"its refusal", answer(VL_C_ReleaseMotors, 1), kBusy, kBusy},
      {"a good answer to another command", answer(VL_C_Park, 0), "ok", "ok", true},
      {"a bad answer to another command", answer(VL_C_Park, 1), kBusy, kBusy, true},
      {"an answer to a negative command", answer(-1, 0), kGoesOn, kGoesOn},
      {"an error packet", answer(VL_C_ReleaseMotors, 1, VL_DT_Error), kBusy, kGoesOn, true},
      {"an error packet of no command", answer(VL_C_Unknown, 1, VL_DT_Error), kBusy, kGoesOn, true},
      {"a point", result(VL_DT_SingleMeasResult), "ok", "ok", true},
      {"a point of the second layout", result(VL_DT_SingleMeasResult2, 1), kBusy, kBusy, true},
      {"a probe result", result(VL_DT_StationaryProbeMeasResult), "ok", "ok", true},
      {"an inclination", result(VL_DT_TiltraResult, 1), kBusy, kBusy, true},
      {"continuous points", packet(116, VL_DT_MultiMeasResult), kGoesOn, kGoesOn},
      {"a reflector position", packet(36, VL_DT_ReflectorPosResult), kGoesOn, kGoesOn},
      {"an ordinary status change", status_change(17), kGoesOn, kGoesOn},
      {"a closing tracker", status_change(997), kUnknown, kGoesOn},
      {"a packet of an unknown type", packet(16, 12), kUnknown, kGoesOn, true},
      {"one of a silent type", packet(16, 1'000), kGoesOn, kGoesOn},
      {"a stream out of step", garbage, kUnknown, kUnknown, true},
  };
}

TEST_F(Release, OfACallDependsOnWhatArrives) {
  start();
  for (const Arrival& arrival : arrivals()) {
    EXPECT_EQ(outcome_of(arrival.bytes), arrival.outcome) << arrival.what;
    EXPECT_EQ(has_timer, arrival.leaves_timer) << arrival.what;
  }
}

TEST_F(Release, WithoutEventsNeedsAnAnswerAResultOrAReceiveError) {
  for (const KR_NotifyMethod method : {KR_NM_None, KR_NM_WM_Notify}) {
    if (!connection) start();
    connection->SelectNotificationMethod(method, 0, 0);
    for (const Arrival& arrival : arrivals()) {
      EXPECT_EQ(outcome_of(arrival.bytes), arrival.silent_outcome) << arrival.what;
    }
  }
  EXPECT_EQ(heard(), Lines{});
}

TEST_F(Release, WithoutEventsIsLeftToNeitherTimerNorClosedSocket) {
  set_timeout(u"StandardWaitTime", 15);
  start();
  connection->SelectNotificationMethod(KR_NM_None, 0, 0);
  EXPECT_EQ(outcome_of({}), kGoesOn);
  peer.close();
  bool still_waiting = false;
  later(
      [&] {
        still_waiting = engine().is_awaiting_answer(VL_C_ReleaseMotors) && !connection->link().mark_ended();
        engine().cancel_wait();
      },
      60);
  EXPECT_EQ(told(commands->ReleaseMotors()), kUnknown);
  EXPECT_TRUE(still_waiting);
  EXPECT_EQ(heard(), Lines{});
}

TEST_F(Release, ByAnErrorPacketOfNoCommandIsReportedBeforeTheCallsOwnFailure) {
  start();
  peer.send(answer(VL_C_Unknown, 1, VL_DT_Error));
  EXPECT_EQ(told(commands->ReleaseMotors()), kBusy);
  EXPECT_EQ(heard(), (Lines{"sync ErrorEvent 64 1",
                            "sync ExceptionEvent 1 '[8] \"Release Motors\" failed  (status:  Server Busy)'"}));
}

}  // namespace
}  // namespace kestrine::test
