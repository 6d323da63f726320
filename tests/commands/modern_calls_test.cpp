// What ends a wait in modern behaviour, and whose answer a call hands out.
#include <map>

#include "client_test.h"
#include "platform/test_clock.h"

namespace kestrine::test {
namespace {

using namespace std::chrono_literals;

class ModernCalls : public ClientTest {
 protected:
  ModernCalls() : ClientTest(connection::kModernRules) {}

  static Bytes reflector(std::int32_t id) { return answer_with(VL_C_GetReflector, id); }
  static Bytes point(double x) { return result(VL_DT_SingleMeasResult, 0, x); }
  std::string get_reflector() {
    std::int32_t id = -1;
    const std::string outcome = told(commands->GetReflector(&id));
    return outcome == "ok" ? std::to_string(id) : outcome.substr(0, 11);
  }
  std::string measure() {
    SingleMeasResultT measured{};
    const std::string outcome = told(commands->MeasureStationaryPointEx(&measured));
    return outcome == "ok" ? std::to_string(static_cast<int>(measured.dVal1)) : outcome.substr(0, 11);
  }
};

TEST_F(ModernCalls, EndByTheirOwnAnswerAnErrorOrTheLinkUnderEveryNotification) {
  start(kBoth);
  const std::map<std::string, std::pair<Bytes, std::string>> arrivals = {
      {"the answer to another command", {answer(VL_C_Park, 0), "7"}},
      {"a refusal of another command", {answer(VL_C_Park, 1), "7"}},
      {"the items of a list", {packet(116, VL_DT_Command), "7"}},
      {"its refusal", {answer(VL_C_GetReflector, 1), "80004005 1 "}},
      {"an error that names it", {answer(VL_C_GetReflector, 3, VL_DT_Error), "80004005 3 "}},
      {"an error that names no command", {answer(VL_C_Unknown, 4, VL_DT_Error), "80004005 4 "}},
      {"an error that names another", {answer(VL_C_Park, 5, VL_DT_Error), "7"}},
      {"a point", {point(1), "7"}},
      {"an inclination", {packet(40, VL_DT_TiltraResult), "7"}},
      {"a closing server", {status_change(998), "80004005 36"}},
      {"a broken frame", {packet(16, 12), "80004005 36"}},
  };
  for (const KR_NotifyMethod method : {KR_NM_Event, KR_NM_None, KR_NM_WM_CopyData}) {
    connection->SelectNotificationMethod(method, 0, 0);
    for (const auto& [what, arrival] : arrivals) {
      connection->requests().clear();  // of the last one
      peer.send(arrival.first + reflector(7));
      EXPECT_EQ(get_reflector(), arrival.second) << what << ", method " << method;
      EXPECT_FALSE(platform::kill_timer(generation.window(), VL_C_GetReflector)) << what;
      receive(status_change(26));  // whatever was left before
    }
  }
}

TEST_F(ModernCalls, EndByTheirTimerAndByTheLinkWithoutEvents) {
  start();
  connection->SelectNotificationMethod(KR_NM_None, 0, 0);
  const platform::ShortWaits at_once(0ms);
  EXPECT_EQ(get_reflector(), "80004005 36") << "nobody answers";
  peer.close();
  EXPECT_EQ(get_reflector(), "80004005 36");
}

TEST_F(ModernCalls, TakeTheResultOfTheirOwnMeasurement) {
  start(kBoth);
  const Bytes good = answer(VL_C_StartMeasurement, 0);
  const Bytes refusal = answer(VL_C_StartMeasurement, 1);
  async_commands->MeasureStationaryPoint();
  peer.send(good + refusal + point(3));
  EXPECT_EQ(measure(), "80004005 1 ") << "the first one goes on";
  peer.send(good + point(4));
  receive(status_change(26));
  async_commands->MeasureStationaryPoint();
  async_commands->StopContinuousMeasurement();
  peer.send(good + answer(VL_C_StopMeasurement, 0) + good + point(5));
  EXPECT_EQ(measure(), "5") << "what was stopped brings nothing";
  peer.send(answer(VL_C_StartTiltraMeasurement, 0) + filled(40, VL_DT_TiltraResult));
  TiltraResultT tilt{};
  commands->StartTiltraMeasurementEx(&tilt);
  EXPECT_NE(tilt.dXTilt, 0) << "the answer alone brings no inclination";
}

TEST_F(ModernCalls, ForgetWhatIsNeverAnswered) {
  start(kBoth);
  later([&] { engine().cancel_wait(); });
  EXPECT_EQ(get_reflector(), "80004005 36");
  async_commands->GetReflector();
  platform::advance_clock(61s);
  peer.send(reflector(1));
  EXPECT_EQ(get_reflector(), "1");
}

TEST_F(ModernCalls, EndWhenAHandlerDisconnects) {
  start();
  later([&] { connection->DisconnectEmbeddedSystem(); });
  EXPECT_EQ(get_reflector(), "80004005 36");
}

}  // namespace
}  // namespace kestrine::test
