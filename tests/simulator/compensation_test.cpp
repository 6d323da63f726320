// The inclination sensor and the compensations: what they find, how long they take, who hears of it.
#include <cmath>

#include "bench.h"
#include "simulator/inclination.h"

namespace kestrine::simulator {
namespace {

constexpr double kSlack = 5 * kSensorNoise;

struct Tilt {
  double x, y;
};

struct Ready : Bench {
  Ready() {
    initialise();
    ask(request_of(VL_C_SetSystemSettings, wishes(true)));
  }
  Tilt reading() {
    const auto packets = ask(protocol::build_StartTiltraMeasurement());
    EXPECT_EQ(packets.size(), 2u);
    EXPECT_EQ(packets.at(1).size(), 40u);
    const auto result = read_as<TiltraResultT>(packets.at(1).data());
    return {result.dXTilt, result.dYTilt};
  }
  Tilt reading_at(VL_TiltraPosition position) {
    EXPECT_EQ(status(protocol::build_GoTiltraPosition(position)), VL_RS_AllOK);
    return reading();
  }
  double seconds_of(const protocol::Request& request) {
    const double before = scheduler.now();
    EXPECT_EQ(status(request), VL_RS_AllOK);
    return scheduler.now() - before;
  }
};

TEST(Inclination, IsReadWithTheSensorsIndexUntilThatIsCompensated) {
  Ready bench;
  const auto front = static_cast<VL_TiltraPosition>(0), back = static_cast<VL_TiltraPosition>(2);
  const Tilt there = bench.reading_at(front), turned = bench.reading_at(back);
  EXPECT_NEAR((there.x + turned.x) / 2, kSensorIndex.along, kSlack);
  EXPECT_NEAR((there.x - turned.x) / 2, kOutOfLevel.along, kSlack);
  const auto found =
      bench.answer<CallInclinationSensorCompensationRT>(protocol::build_CallInclinationSensorCompensation());
  EXPECT_NEAR(found.dInclinationIndexL, (there.x + turned.x) / 2, kSlack);
  EXPECT_NEAR(found.dInclinationIndexC, (there.y + turned.y) / 2, kSlack);
  const Tilt after_front = bench.reading_at(front), after_back = bench.reading_at(back);
  EXPECT_NEAR(after_front.x + after_back.x, 0, kSlack);
  EXPECT_NEAR(after_front.x, kOutOfLevel.along, kSlack);
  EXPECT_NEAR(after_front.y, kOutOfLevel.across, kSlack);
}

TEST(Inclination, OrientsToGravityWithoutTheIndexInTheUnitsSet) {
  Ready bench;
  bench.ask(protocol::build_GoPosition(2.5, 0, 0.15, 1));
  bench.ask(protocol::build_SetUnits(VL_LU_Meter, VL_AU_Gon, VL_TU_Celsius, VL_PU_Mbar, VL_HU_RH));
  const double gon = 200 / std::numbers::pi;
  const double before = bench.scheduler.now();
  const auto packets = bench.ask(protocol::build_CallOrientToGravity());
  EXPECT_NEAR(bench.scheduler.now() - before, 7, 1.5);
  EXPECT_EQ(changes(packets), (std::vector<std::int32_t>{VL_SSC_MeasStatus_Busy, VL_SSC_MeasStatus_Ready}));
  const auto found = read_as<CallOrientToGravityRT>(only(packets, VL_DT_Command).at(0).data());
  EXPECT_NEAR(found.dOmega / gon, kOutOfLevel.along, kSlack);
  EXPECT_NEAR(found.dPhi / gon, kOutOfLevel.across, kSlack);
  // The beam is back on its target.
  EXPECT_NEAR(bench.answer<GetCurrentPrismPositionRT>(protocol::build_GetCurrentPrismPosition()).dVal1, 2.5, 1e-9);
  EXPECT_NEAR(bench.answer<GetDirectionRT>(protocol::build_GetDirection()).dHzAngle, 0, 1e-9);
}

TEST(Inclination, IsNotToldByATrackerWithoutTheSensor) {
  Ready bench;
  bench.ask(request_of(VL_C_SetSystemSettings, SystemSettingsDataT{}));
  for (const auto& request : {protocol::build_StartTiltraMeasurement(), protocol::build_CallOrientToGravity(),
                              protocol::build_CallInclinationSensorCompensation()})
    EXPECT_EQ(bench.status(request), VL_RS_NoTiltra);
}

TEST(Compensations, RefuseOtherWorkMeanwhileAndSayWhenTheyBeginAndEnd) {
  Ready bench;
  const auto other = bench.add_client();
  const auto start = protocol::build_CallInclinationSensorCompensation();
  bench.client->packets.clear();
  bench.tracker.execute(bench.client, Bytes(start.bytes.begin(), start.bytes.begin() + start.size));
  bench.scheduler.advance(0.5);
  for (const auto& request : {protocol::build_StartMeasurement(), protocol::build_CallOrientToGravity()})
    EXPECT_EQ(status_of(bench.ask(*other, other, request).at(0)), VL_RS_InCompensationMode);
  bench.scheduler.advance(20);
  EXPECT_EQ(changes(bench.client->packets),
            (std::vector<std::int32_t>{VL_SSC_CompensationModeStart, VL_SSC_MeasStatus_Busy, VL_SSC_CompensationModeEnd,
                                       VL_SSC_CompensatorStatusChanged, VL_SSC_MeasStatus_Ready}));
  EXPECT_TRUE(only(other->packets, VL_DT_SystemStatusChange).empty());
  EXPECT_EQ(bench.status(protocol::build_StartMeasurement()), VL_RS_AllOK);
}

TEST(Compensations, DriveToEveryPointAndReportWhatTheTwoFacesLeave) {
  Ready bench;
  const auto compensate = protocol::build_CallIntermediateCompensation();
  EXPECT_EQ(bench.status(protocol::build_AddDrivePoint(5, 2.2, 0.4, 0.1)), VL_RS_WrongParameter1);
  EXPECT_EQ(bench.status(protocol::build_AddDrivePoint(1, 100, 0, 0)), VL_RS_Parameter4OutOfRangeNOK);
  for (const double y : {0.4, -0.4}) bench.ask(protocol::build_AddDrivePoint(1, 2.2, y, 0.1));
  EXPECT_EQ(bench.status(compensate), VL_RS_InvalidInputData);
  bench.ask(protocol::build_AddDrivePoint(1, 2.5, 0.01, 0.15));
  EXPECT_NEAR(bench.seconds_of(compensate), 3 * 2.7 + 0.3, 0.3);
  const auto found = bench.answer<CallIntermediateCompensationRT>(compensate);
  EXPECT_GT(double{found.dTotalRMS}, 2e-6);
  EXPECT_LT(double{found.dMaxDev}, 120e-6);
  EXPECT_LE(double{found.dTotalRMS}, double{found.dMaxDev});
  EXPECT_EQ(found.lWarningFlags, 0);
  bench.ask(protocol::build_AddDrivePoint(1, 3, 3, 0));  // where nothing is
  const auto failed = bench.ask(compensate);
  EXPECT_EQ(status_of(only(failed, VL_DT_Command).at(0)), VL_RS_NoStationaryResult);
  EXPECT_EQ(changes(failed).at(2), VL_SSC_CompensationModeEnd);
  bench.ask(protocol::build_ClearDrivePointList());
  EXPECT_EQ(bench.status(compensate), VL_RS_InvalidInputData);
}

TEST(Compensations, OfTheTargetRecognitionHoldUntilTheNext) {
  Ready bench;
  const auto current = protocol::build_CallATRCompensation(AM_CurrentOnAxisValues);
  const double factory = bench.answer<CallATRCompensationRT>(current).dZeroPixelX;
  bench.ask(protocol::build_GoPosition(2.5, 0, 0.15, 1));
  const auto found = bench.answer<CallATRCompensationRT>(protocol::build_CallATRCompensation(AM_OnAxis));
  EXPECT_NEAR(found.dZeroPixelX, factory, 5 * found.dStdDevZeroPixelX);
  EXPECT_NE(double{found.dZeroPixelX}, factory);
  EXPECT_NEAR(found.dDistance, std::hypot(2.5, 0.15), 1e-9);
  EXPECT_NEAR(bench.answer<CallATRCompensationRT>(current).dZeroPixelX, found.dZeroPixelX, 0);
  bench.ask(protocol::build_PointLaser(2, 2, 0));
  EXPECT_EQ(bench.status(protocol::build_CallATRCompensation(AM_WideAngle)), VL_RS_NoDistanceSet);
}

}  // namespace
}  // namespace kestrine::simulator
