// The probe: what belongs to it, when it can be measured, and that its poses are one and the same in every form.
#include <cmath>

#include "bench.h"
#include "simulator/measuring/results.h"
#include "simulator/tracker/inventory.h"
#include "simulator/tracker/world.h"

namespace kestrine::simulator {
namespace {

Matrix quaternion_of(const auto& r) {
  const double w = r.dQuaternion0, x = r.dQuaternion1, y = r.dQuaternion2, z = r.dQuaternion3;
  return Eigen::Quaterniond(w, x, y, z).toRotationMatrix();
}
Vector angles_of(const auto& r) {
  return vector(r.dRotationAngleX, r.dRotationAngleY, r.dRotationAngleZ);
}
Vector position_of(const auto& r) {
  return vector(r.dPosition1, r.dPosition2, r.dPosition3);
}

struct ProbeBench : Bench {
  explicit ProbeBench(VL_MeasMode mode)
      : Bench({build_Initialize(), build_GoPosition(2.2, 0.4, -0.3, 1), build_SetMeasurementMode(mode)}) {}
  ProbeStationaryResultT measure_point() { return measured<ProbeStationaryResultT>(VL_DT_StationaryProbeMeasResult); }
};

auto elements_of(const Packets& packets) {
  return elements<ProbeContinuousResultT>(packets, VL_DT_ContinuousProbeMeasResult);
}

const Vector kNest{2.2, 0.4, -0.3};

TEST(ProbeMeasurement, IsRefusedWhereTheProbeCannotBeSeen) {
  ProbeBench bench(VL_MM_6DStationary);
  bench.listen();
  const auto state = [&] { return bench.answer<GetTrackerStatusRT>(build_GetTrackerStatus()).trackerStatus; };
  const auto refused_by = [&](const protocol::Request& request, std::int32_t status) {
    const Codes announced = bench.announced(request);
    EXPECT_EQ(std::count(announced.begin(), announced.end(), VL_SSC_MeasStatus_6DStatusInvalid), 1) << status;
    EXPECT_EQ(state(), VL_TS_6DStatusInvalid);
    EXPECT_EQ(bench.status(build_StartMeasurement()), status);
  };
  const auto fine = [&](const protocol::Request& request) {
    bench.ask(request);
    EXPECT_EQ(state(), VL_TS_Ready);
  };
  refused_by(build_SetMeasurementCameraMode(VL_MCM_Overview), VL_RS_6DModeNotAllowed);
  fine(build_SetMeasurementCameraMode(VL_MCM_Measure));
  refused_by(build_ChangeFace(), VL_RS_6DMeasurementFace2NotAllowed);
  fine(build_ChangeFace());
  const auto tips = [](VL_ProbeConfigTip value) { return build_SetLongSystemParameter(VL_SP_ProbeConfig_Tip, value); };
  refused_by(tips(VL_PCT_OnlyWithShankCompensation), VL_RS_NoMeasurementShankCompSet);
  fine(build_SetTipAdapter(2));
  fine(tips(VL_PCT_OnlyWithTip));
  refused_by(build_SetProbeCompensation(4), VL_RS_NoMeasurementTipCompSet);
  fine(tips(VL_PCT_NoTipAllowed));
  EXPECT_EQ(bench.measure_point().tipStatus, VL_PTS_UnknownTip);
  bench.ask(build_GoPosition(3, 3, 0, 1));
  EXPECT_EQ(bench.status(build_StartMeasurement()), VL_RS_NoDistanceSet);
}

TEST(StationaryProbe, HasItsTipOnTheTargetWithinItsUncertainty) {
  ProbeBench bench(VL_MM_6DStationary);
  double squares = 0, turns = 0;
  constexpr int kTimes = 20;
  for (int i = 0; i < kTimes; ++i) {
    const ProbeStationaryResultT result = bench.measure_point();
    EXPECT_EQ((Codes{result.measMode, result.tipStatus, result.iInternalProbeId}),
              (Codes{VL_MM_6DStationary, VL_PTS_TipOK, 1}));
    squares += std::pow(length(position_of(result) - kNest) / result.dStdDevPositionTotal, 2);
    const Vector turn = angles_of(result) - rotation_angles(probe_attitude(kNest));
    turns += std::pow(length(turn) / result.dStdDevRotationAngleTotal, 2);
    expect_near(quaternion_of(result), rotation(angles_of(result)), 1e-12);
    EXPECT_NEAR(result.dAprioriStdDevPositionTotal / result.dStdDevPositionTotal, std::sqrt(750), 3);
    EXPECT_NEAR(result.dAprioriStdDevRotationAngleTotal / result.dStdDevRotationAngleTotal, std::sqrt(750), 3);
  }
  EXPECT_NEAR(std::sqrt(squares / kTimes), 1, 0.35);
  EXPECT_NEAR(std::sqrt(turns / kTimes), 1, 0.35);
}

TEST(StationaryProbe, ComesInTheSystemThatIsSet) {
  ProbeBench bench(VL_MM_6DStationary);
  bench.set_units(VL_LU_Millimeter, VL_AU_Degree, VL_TU_Fahrenheit);
  bench.set_up({build_SetStationOrientationParams(1000, 0, 0, 0, 0, 90),
                set_system_settings({.bApplyStationOrientationParams = 1})});
  const Matrix turned = rotation({0, 0, M_PI / 2}) * probe_attitude(kNest);
  const ProbeStationaryResultT level = bench.measure_point();
  expect_near(position_of(level), {1000 - 400, 2200, -300}, 0.03);
  expect_near(rotation(M_PI / 180 * angles_of(level)), turned, 1e-4);
  EXPECT_NEAR(level.dTemperature, 68, 1e-9);
  EXPECT_NEAR(level.dAprioriStdDevRotationAngleZ, 60e-6 * 180 / M_PI, 5e-4);
  // With Y inverted, turns about X and Z count the other way.
  bench.ask(build_SetCoordinateSystemType(VL_CS_LHRY));
  const ProbeStationaryResultT mirrored = bench.measure_point();
  EXPECT_NEAR(mirrored.dPosition2, -2200, 0.05);
  expect_near(angles_of(mirrored), Vector{-1, 1, -1}.cwiseProduct(angles_of(level)), 0.01);
  expect_near(quaternion_of(mirrored), rotation(M_PI / 180 * angles_of(mirrored)), 1e-12);
}

TEST(ContinuousProbe, FollowsThePathAndTurnsWithIt) {
  ProbeBench bench(VL_MM_6DContinuousTime);
  bench.ask(build_SetContinuousTimeModeParams(10, 205, 0, VL_RT_Sphere));
  const auto packets = bench.measure(5);
  const auto all = elements_of(packets);
  ASSERT_EQ(all.size(), 205u);
  EXPECT_EQ(only(packets, VL_DT_ContinuousProbeMeasResult).size(), 21u);
  EXPECT_EQ(wire::load_i32(only(packets, VL_DT_ContinuousProbeMeasResult)[0].data() + 16), VL_MM_6DContinuousTime);
  for (std::size_t i = 0; i < all.size(); ++i) {
    EXPECT_EQ(all[i].lTime1 * 1000000 + all[i].lTime2, static_cast<std::int32_t>(i) * 10000);
    const Vector tip = path_at(static_cast<double>(i) / 100);
    EXPECT_LT(length(position_of(all[i]) - tip), 5 * all[i].dStdDevPositionTotal);
    expect_near(quaternion_of(all[i]), probe_attitude(tip), 5e-4);
    expect_near(quaternion_of(all[i]), rotation(angles_of(all[i])), 1e-12);
    EXPECT_EQ(all[i].triggerStatus, i % 100 < 50 ? VL_TS_TriggerPressed : VL_TS_TriggerNotPressed);
  }
}

TEST(ContinuousProbe, SendsNoBlockThatAClientCouldNotTake) {
  ProbeBench bench(VL_MM_6DContinuousTime);
  bench.ask(build_SetContinuousTimeModeParams(0, 2000, 0, VL_RT_Sphere));
  const auto blocks = only(bench.measure(1), VL_DT_ContinuousProbeMeasResult);
  for (const Bytes& block : blocks) EXPECT_LT(block.size(), 131072u);
  EXPECT_EQ(elements_of(blocks).size(), 2000u);
}

TEST(ContinuousProbe, AnnouncesTheButtonWhereTheParametersAskForIt) {
  ProbeBench bench(VL_MM_6DContinuousTime);
  bench.listen();
  const auto presses = [&] {
    auto announced = changes(bench.measure(5));
    std::erase_if(announced, [](std::int32_t change) { return change < VL_SSC_MeasStatus_6DStatusInvalid; });
    return announced;
  };
  const std::pair<protocol::Request, Codes> settings[]{
      {build_SetContinuousTimeModeParams(10, 120, 0, VL_RT_Sphere), {}},
      {build_SetLongSystemParameter(VL_SP_ProbeConfig_ButtonEvent, VL_PBE_EnableEvents), {100, 101, 100, 101}},
      {build_SetLongSystemParameter(VL_SP_ProbeConfig_Button, VL_PCB_4ButtonMode), {110, 111, 110, 111}}};
  for (const auto& [request, expected] : settings) {
    bench.ask(request);
    EXPECT_EQ(presses(), expected);
  }
}

TEST(ProbePosition, IsShownInPlaceOfTheReflectors) {
  ProbeBench bench(VL_MM_6DStationary);
  bench.ask(set_system_settings(told(false, true)));
  const auto packets = bench.after(1.01);
  EXPECT_TRUE(only(packets, VL_DT_ReflectorPosResult).empty());
  const auto shown = only(packets, VL_DT_ProbePosResult);
  ASSERT_EQ(shown.size(), 3u);
  const auto position = read_as<ProbePosResultT>(shown[0].data());
  expect_near(position_of(position), kNest, 1e-12);
  expect_near(quaternion_of(position), probe_attitude(kNest), 1e-12);
  EXPECT_EQ(position.iInternalTipAdapterId, 1);
  bench.ask(build_SetMeasurementMode(VL_MM_Stationary));
  EXPECT_TRUE(only(bench.after(1), VL_DT_ProbePosResult).empty());
}

}  // namespace
}  // namespace kestrine::simulator
