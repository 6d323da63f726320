// Starting measurements, and waiting for their results.
#include "client_test.h"

namespace kestrine::test {
namespace {

class Measurement : public ClientTest {
 protected:
  // The start of what a point measurement told; its value is in `point`.
  std::string measure() {
    const std::string outcome = told(commands->MeasureStationaryPointEx(&point));
    return outcome.substr(0, outcome.find(" Kestrine"));
  }
  SingleMeasResultT point;
  SingleMeasResult2T point2;
};

TEST_F(Measurement, WaitsForTheResultAndNotForItsAcknowledgement) {
  start();
  const auto acknowledged = [&](std::int32_t command) {
    peer.send(answer(command, 0));
    later([&] { peer.send(result(VL_DT_SingleMeasResult, 0, 3.25)); }, 25);
  };
  acknowledged(VL_C_StartMeasurement);
  EXPECT_EQ(measure(), "ok");
  EXPECT_EQ(sent(), std::vector<std::int32_t>{VL_C_StartMeasurement});
  EXPECT_EQ(double{point.dVal1}, 3.25);
  point = {};
  acknowledged(VL_C_GoAndMeasure);
  EXPECT_EQ(told(commands->GoAndMeasureStationaryPointEx(1, 2, 3, &point)), "ok");
  EXPECT_EQ(sent().size(), 7u);
  EXPECT_EQ(double{point.dVal1}, 3.25);
  EXPECT_EQ(heard(), Lines{});  // the calls consumed what came
}

TEST_F(Measurement, EndsWithItsRefusalAndLeavesTheOutputsAlone) {
  start();
  const struct {
    const char* what;
    Bytes bytes;
    std::string outcome;
  } cases[] = {
      {"refusal", answer(VL_C_StartMeasurement, 1), "80004005 1"},
      {"failed result", answer(VL_C_StartMeasurement, 0) + result(VL_DT_SingleMeasResult, 1, 9), "80004005 1"},
      {"error packet", answer(VL_C_StartMeasurement, 1, VL_DT_Error), "80004005 1"},
      {"another answer", answer(VL_C_Park, 0), "80004005 36"},
      {"an acknowledgement that comes twice", answer(VL_C_StartMeasurement, 0) + answer(VL_C_StartMeasurement, 0),
       "80004005 36"},
      {"closing", status_change(997), "80004005 36"},
  };
  deliver(result(VL_DT_SingleMeasResult, 0, 5));  // an old result, never to be handed out as a new one
  for (const auto& [what, bytes, outcome] : cases) {
    point.dVal1 = -1;
    peer.send(bytes);
    EXPECT_EQ(measure(), outcome) << what;
    EXPECT_EQ(double{point.dVal1}, -1) << what;
  }
}

TEST_F(Measurement, ThatNobodyAcknowledgedDoesNotKeepLaterStartsFromEnding) {
  start();
  peer.send(answer(VL_C_StartMeasurement, 1, VL_DT_Error));
  EXPECT_EQ(measure(), "80004005 1");
  EXPECT_FALSE(connection->measurement().is_start_acknowledged());
  connection->measurement().set_mode(1);
  peer.send(answer(VL_C_StartMeasurement, 0));
  EXPECT_EQ(told(commands->StartContinuousPointMeasurement()), "ok");
  EXPECT_TRUE(connection->measurement().is_start_acknowledged());
}

TEST_F(Measurement, ThatFailsLaterIsReportedWithAnErrorEvent) {
  start();
  for (const KR_NotifyMethod method : {KR_NM_Event, KR_NM_None}) {
    connection->SelectNotificationMethod(method, 0, 0);
    connection->measurement().on_start_sent();
    deliver(answer(VL_C_StartMeasurement, 1));  // the refusal of a call that has gone only sets the flag
    EXPECT_EQ(heard(), Lines{});
    EXPECT_TRUE(connection->measurement().is_start_acknowledged());
    deliver(answer(VL_C_StartMeasurement, 1));
    EXPECT_EQ(heard(), method == KR_NM_Event ? Lines{"sync ErrorEvent 49 1"} : Lines{});
    EXPECT_EQ(told(S_FALSE), "1 1 Kestrine.LTCommandSync.1: [49] \"Start Measurement\" failed  (status:  Server Busy)");
  }
}

TEST_F(Measurement, NeedsAResultOfItsOwnLayoutUnlessTheTestIsSuppressed) {
  start();
  const auto outcomes = [&] {
    Lines all;
    peer.send(result(VL_DT_SingleMeasResult2, 0, 1.5));
    all.push_back(told(commands->MeasureStationaryPointEx(&point)));
    peer.send(result(VL_DT_StationaryProbeMeasResult));
    all.push_back(told(commands->GoAndMeasureStationaryPoint2Ex(1, 2, 3, &point2)));
    return all;
  };
  const std::string unfit =
      "80004005 40006 Kestrine.LTConnect.1: Current Statistic Mode not suitable for this Function";
  point.dVal1 = point2.dVal1 = -1;
  EXPECT_EQ(outcomes(), (Lines{unfit, unfit}));
  EXPECT_EQ(double{point.dVal1}, -1);
  EXPECT_EQ(double{point2.dVal1}, -1);
  environment.set(u"SuppressStatisticModeErrors", 1);
  commands.reset(), connection.reset();
  start();
  EXPECT_EQ(outcomes(), (Lines{"ok", "ok"}));
  EXPECT_EQ(double{point.dVal1}, 1.5);
}

TEST(ModeCheck, KeepsBackTheMeasurementsThatDoNotFitTheMode) {
  using protocol::ModeCheck;
  for (const bool legacy : {false, true}) {
    for (std::int32_t mode = -1; mode <= 24; ++mode) {
      connection::MeasurementState state;
      state.set_mode(mode);
      state.set_legacy_stationary(legacy);
      const bool profile = mode >= 20 && mode <= 23;
      const bool point = mode == 0 || profile;
      const bool probe = mode == 6 || (legacy && mode == 0);
      const auto misfits = [&](ModeCheck check) { return state.check_mode(check) != nullptr; };
      EXPECT_EQ(misfits(ModeCheck::kContinuousPoint), point) << mode;
      EXPECT_EQ(misfits(ModeCheck::kContinuousProbe), probe) << mode << legacy;
      EXPECT_EQ(misfits(ModeCheck::kStationaryPoint), !point) << mode;
      EXPECT_EQ(misfits(ModeCheck::kStationaryProbe), !probe && !profile) << mode << legacy;
    }
  }
}

}  // namespace
}  // namespace kestrine::test
