// The probe: what belongs to it, when it can be measured, and that its poses are one and the same in every form.
#include <cmath>

#include "bench.h"
#include "simulator/inventory.h"
#include "simulator/probe_result.h"
#include "simulator/world.h"

namespace kestrine::simulator {
namespace {

// As a text-book has it, for a unit quaternion.
Matrix of_quaternion(double w, double x, double y, double z) {
  return {{{1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)},
           {2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)},
           {2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)}}};
}

double difference(const Matrix& a, const Matrix& b) {
  double most = 0;
  for (std::size_t r = 0; r < 3; ++r)
    for (std::size_t c = 0; c < 3; ++c) most = std::max(most, std::abs(a[r][c] - b[r][c]));
  return most;
}

Matrix quaternion_of(const auto& r) {
  return of_quaternion(r.dQuaternion0, r.dQuaternion1, r.dQuaternion2, r.dQuaternion3);
}
Vector angles_of(const auto& r) {
  return {r.dRotationAngleX, r.dRotationAngleY, r.dRotationAngleZ};
}
Vector position_of(const auto& r) {
  return {r.dPosition1, r.dPosition2, r.dPosition3};
}

struct ProbeBench : Bench {
  explicit ProbeBench(VL_MeasMode mode) {
    initialise();
    ask(protocol::build_GoPosition(2.2, 0.4, -0.3, 1));
    ask(protocol::build_SetMeasurementMode(mode));
  }
  ProbeStationaryResultT measure() {
    EXPECT_EQ(status(protocol::build_StartMeasurement()), VL_RS_AllOK);
    const auto results = only(after(3), VL_DT_StationaryProbeMeasResult);
    EXPECT_EQ(results.size(), 1u);
    return results.empty() ? ProbeStationaryResultT{} : read_as<ProbeStationaryResultT>(results[0].data());
  }
  std::vector<Bytes> stream(double seconds) {
    auto packets = ask(protocol::build_StartMeasurement());
    const auto more = after(seconds);
    packets.insert(packets.end(), more.begin(), more.end());
    return packets;
  }
};

auto elements_of(const std::vector<Bytes>& packets) {
  return elements<ProbeContinuousResultT, ProbeMeasValueT>(packets, VL_DT_ContinuousProbeMeasResult);
}

const Vector kNest{2.2, 0.4, -0.3};

TEST(Quaternion, SaysTheSameAsTheMatrix) {
  for (const Vector& angles : {Vector{}, {0.1, -0.2, 0.3}, {3, 0.1, 0.2}, {0, 3.1, 0}, {0, 0, M_PI}, {-2, 1.5, -3}}) {
    const Matrix turned = rotation(angles);
    const auto q = quaternion(turned);
    EXPECT_LT(difference(of_quaternion(q[0], q[1], q[2], q[3]), turned), 1e-12);
    EXPECT_GE(q[0], 0);
  }
}

struct List {
  protocol::Request request;
  std::vector<std::int32_t> ids;
};

TEST(ProbeLists, AreSeriesWithTheirTotals) {
  Bench bench;
  for (const List& list :
       {List{protocol::build_GetCameras(), {1, 2}}, List{protocol::build_GetVizetToTrackerCompensations(), {1, 2}},
        List{protocol::build_GetProbes(), {1, 2}}, List{protocol::build_GetProbeCompensations(), {1, 4}},
        List{protocol::build_GetTipAdapters(), {1, 2}}, List{protocol::build_GetTipToProbeCompensations(), {1, 2, 6}},
        List{protocol::build_GetTipToProbeCompensations2(), {1, 2, 6}}}) {
    std::vector<std::int32_t> ids;
    for (const Bytes& packet : bench.ask(list.request)) {
      EXPECT_EQ(wire::load_i32(packet.data() + 16), static_cast<std::int32_t>(list.ids.size()));
      ids.push_back(wire::load_i32(packet.data() + 20));
    }
    EXPECT_EQ(ids, list.ids);
  }
  bench.ask(protocol::build_SetUnits(VL_LU_Millimeter, VL_AU_Degree, VL_TU_Celsius, VL_PU_Mbar, VL_HU_RH));
  const auto tip = bench.answer<GetTipAdaptersRT>(protocol::build_GetTipAdapters());
  EXPECT_EQ(std::u16string(tip.cName), u"Ruby 6 mm");
  EXPECT_NEAR(tip.dRadius, 3, 1e-12);
  EXPECT_NEAR(tip.dLength, 50, 1e-12);
}

TEST(ProbeInUse, FollowsWhatIsSetAndTellsWhoAsked) {
  Bench bench;
  bench.ask(request_of(VL_C_SetSystemSettings, wishes(true)));
  const auto tip = [&] {
    return bench.answer<GetTipToProbeCompensationRT>(protocol::build_GetTipToProbeCompensation());
  };
  EXPECT_EQ(tip().iInternalTipToProbeCompensationId, 1);
  EXPECT_EQ(changes(bench.ask(protocol::build_SetTipAdapter(2))),
            (std::vector<std::int32_t>{VL_SSC_TipChanged, VL_SSC_TipToProbeCompensationChanged}));
  EXPECT_EQ(tip().iInternalTipToProbeCompensationId, 2);
  EXPECT_EQ(changes(bench.ask(protocol::build_SetProbeCompensation(4))),
            (std::vector<std::int32_t>{VL_SSC_ProbeCompensationChanged, VL_SSC_ProbeChanged,
                                       VL_SSC_TipToProbeCompensationChanged}));
  EXPECT_EQ(tip().packetInfo.status, VL_RS_NoMeasurementTipCompSet);
  EXPECT_EQ(bench.answer<GetProbeRT>(protocol::build_GetProbe()).iInternalProbeId, 2);
  EXPECT_EQ(bench.answer<GetTipAdapterRT>(protocol::build_GetTipAdapter()).iInternalTipAdapterId, 2);
  EXPECT_EQ(changes(bench.ask(protocol::build_SetVizetToTrackerCompensation(2))),
            std::vector<std::int32_t>{VL_SSC_VizetToTrackerCompensationChanged});
  EXPECT_EQ(bench.status(protocol::build_SetTipAdapter(3)), VL_RS_InvalidTipAdapter);
  EXPECT_EQ(bench.status(protocol::build_SetProbeCompensation(2)), VL_RS_NoSuchCompensation);
  EXPECT_EQ(bench.status(protocol::build_SetVizetToTrackerCompensation(9)), VL_RS_NoSuchCompensation);
  EXPECT_EQ(bench.answer<GetProbeRT>(protocol::build_GetProbe()).iInternalProbeId, 2);  // as before the refusals
}

TEST(ProbeMeasurement, IsRefusedWhereTheProbeCannotBeSeen) {
  ProbeBench bench(VL_MM_6DStationary);
  bench.ask(request_of(VL_C_SetSystemSettings, wishes(true)));
  const auto state = [&] { return bench.answer<GetTrackerStatusRT>(protocol::build_GetTrackerStatus()).trackerStatus; };
  const auto refused_by = [&](const protocol::Request& request, std::int32_t status) {
    const auto told = changes(bench.ask(request));
    EXPECT_EQ(std::count(told.begin(), told.end(), VL_SSC_MeasStatus_6DStatusInvalid), 1) << status;
    EXPECT_EQ(state(), VL_TS_6DStatusInvalid);
    EXPECT_EQ(bench.status(protocol::build_StartMeasurement()), status);
  };
  const auto fine = [&](const protocol::Request& request) {
    bench.ask(request);
    EXPECT_EQ(state(), VL_TS_Ready);
  };
  refused_by(protocol::build_SetMeasurementCameraMode(VL_MCM_Overview), VL_RS_6DModeNotAllowed);
  fine(protocol::build_SetMeasurementCameraMode(VL_MCM_Measure));
  refused_by(protocol::build_ChangeFace(), VL_RS_6DMeasurementFace2NotAllowed);
  fine(protocol::build_ChangeFace());
  const auto tips = [](VL_ProbeConfigTip value) {
    return protocol::build_SetLongSystemParameter(VL_SP_ProbeConfig_Tip, value);
  };
  refused_by(tips(VL_PCT_OnlyWithShankCompensation), VL_RS_NoMeasurementShankCompSet);
  fine(protocol::build_SetTipAdapter(2));
  fine(tips(VL_PCT_OnlyWithTip));
  refused_by(protocol::build_SetProbeCompensation(4), VL_RS_NoMeasurementTipCompSet);
  const auto flags = [&] {
    return bench.answer<GetMeasurementStatusInfoRT>(protocol::build_GetMeasurementStatusInfo()).lMeasurementStatusInfo;
  };
  EXPECT_EQ(flags() & (VL_MSI_MeasurementTipFound | VL_MSI_TipParamsFound), VL_MSI_MeasurementTipFound);
  fine(tips(VL_PCT_NoTipAllowed));
  EXPECT_EQ(bench.measure().tipStatus, VL_PTS_UnknownTip);
  fine(protocol::build_SetTipAdapter(1));
  EXPECT_NE(flags() & VL_MSI_TipParamsFound, 0);
  bench.ask(protocol::build_GoPosition(3, 3, 0, 1));
  EXPECT_EQ(bench.status(protocol::build_StartMeasurement()), VL_RS_NoDistanceSet);
}

TEST(StationaryProbe, HasItsTipOnTheTargetWithinItsUncertainty) {
  ProbeBench bench(VL_MM_6DStationary);
  double squares = 0, turns = 0;
  constexpr int kTimes = 20;
  for (int i = 0; i < kTimes; ++i) {
    const ProbeStationaryResultT result = bench.measure();
    EXPECT_EQ(result.measMode, VL_MM_6DStationary);
    EXPECT_EQ(result.tipStatus, VL_PTS_TipOK);
    EXPECT_EQ(result.iInternalProbeId, 1);
    squares += std::pow(length(position_of(result) - kNest) / result.dStdDevPositionTotal, 2);
    const Vector turn = angles_of(result) - rotation_angles(probe_attitude(kNest));
    turns += std::pow(length(turn) / result.dStdDevRotationAngleTotal, 2);
    EXPECT_LT(difference(quaternion_of(result), rotation(angles_of(result))), 1e-12);
    EXPECT_NEAR(result.dAprioriStdDevPositionTotal / result.dStdDevPositionTotal, std::sqrt(750), 3);
    EXPECT_NEAR(result.dAprioriStdDevRotationAngleTotal / result.dStdDevRotationAngleTotal, std::sqrt(750), 3);
  }
  EXPECT_NEAR(std::sqrt(squares / kTimes), 1, 0.35);
  EXPECT_NEAR(std::sqrt(turns / kTimes), 1, 0.35);
}

TEST(StationaryProbe, IsToldInTheSystemThatIsSet) {
  ProbeBench bench(VL_MM_6DStationary);
  bench.ask(protocol::build_SetUnits(VL_LU_Millimeter, VL_AU_Degree, VL_TU_Fahrenheit, VL_PU_Mbar, VL_HU_RH));
  bench.ask(protocol::build_SetStationOrientationParams(1000, 0, 0, 0, 0, 90));
  SystemSettingsDataT settings = wishes(false);
  settings.bApplyStationOrientationParams = 1;
  bench.ask(request_of(VL_C_SetSystemSettings, settings));
  const Matrix turned = rotation({0, 0, M_PI / 2}) * probe_attitude(kNest);
  const ProbeStationaryResultT level = bench.measure();
  EXPECT_LT(length(position_of(level) - Vector{1000 - 400, 2200, -300}), 0.05);
  EXPECT_LT(difference(rotation(M_PI / 180 * angles_of(level)), turned), 1e-4);
  EXPECT_NEAR(level.dTemperature, 68, 1e-9);
  EXPECT_NEAR(level.dAprioriStdDevRotationAngleZ, 60e-6 * 180 / M_PI, 5e-4);
  // With Y inverted, turns about X and Z count the other way.
  bench.ask(protocol::build_SetCoordinateSystemType(VL_CS_LHRY));
  const ProbeStationaryResultT mirrored = bench.measure();
  EXPECT_NEAR(mirrored.dPosition2, -2200, 0.05);
  const Vector sum = angles_of(mirrored) + angles_of(level);
  EXPECT_NEAR(sum.x, 0, 0.01);
  EXPECT_NEAR(sum.y, 2 * level.dRotationAngleY, 0.01);
  EXPECT_NEAR(sum.z, 0, 0.01);
  EXPECT_LT(difference(quaternion_of(mirrored), rotation(M_PI / 180 * angles_of(mirrored))), 1e-12);
}

TEST(ContinuousProbe, FollowsThePathAndTurnsWithIt) {
  ProbeBench bench(VL_MM_6DContinuousTime);
  bench.ask(protocol::build_SetContinuousTimeModeParams(10, 205, 0, VL_RT_Sphere));
  const auto packets = bench.stream(5);
  const auto all = elements_of(packets);
  ASSERT_EQ(all.size(), 205u);
  EXPECT_EQ(only(packets, VL_DT_ContinuousProbeMeasResult).size(), 21u);
  EXPECT_EQ(read_as<ProbeContinuousResultT>(only(packets, VL_DT_ContinuousProbeMeasResult)[0].data()).measMode,
            VL_MM_6DContinuousTime);
  for (std::size_t i = 0; i < all.size(); ++i) {
    EXPECT_EQ(all[i].lTime1 * 1000000 + all[i].lTime2, static_cast<std::int32_t>(i) * 10000);
    const Vector tip = path_at(static_cast<double>(i) / 100);
    EXPECT_LT(length(position_of(all[i]) - tip), 5 * all[i].dStdDevPositionTotal);
    EXPECT_LT(difference(quaternion_of(all[i]), probe_attitude(tip)), 5e-4);
    EXPECT_LT(difference(quaternion_of(all[i]), rotation(angles_of(all[i]))), 1e-12);
    EXPECT_EQ(all[i].triggerStatus, i % 100 < 50 ? VL_TS_TriggerPressed : VL_TS_TriggerNotPressed);
  }
  EXPECT_GT(std::abs(all[60].dRotationAngleZ - all[0].dRotationAngleZ), 0.05);
  for (const VL_MeasMode mode : {VL_MM_6DContinuousDistance, VL_MM_6DGrid}) {
    bench.ask(protocol::build_SetMeasurementMode(mode));
    EXPECT_EQ(elements_of(bench.stream(30)).size(), 100u) << mode;
  }
}

TEST(ContinuousProbe, SendsNoBlockThatAClientCouldNotTake) {
  ProbeBench bench(VL_MM_6DContinuousTime);
  bench.ask(protocol::build_SetContinuousTimeModeParams(0, 2000, 0, VL_RT_Sphere));
  const auto blocks = only(bench.stream(1), VL_DT_ContinuousProbeMeasResult);
  for (const Bytes& block : blocks) EXPECT_LT(block.size(), 131072u);
  EXPECT_EQ(elements_of(blocks).size(), 2000u);
}

TEST(ContinuousProbe, TellsTheButtonWhereTheParametersAskForIt) {
  ProbeBench bench(VL_MM_6DContinuousTime);
  bench.ask(request_of(VL_C_SetSystemSettings, wishes(true)));
  const auto presses = [&] {
    auto told = changes(bench.stream(5));
    std::erase_if(told, [](std::int32_t change) { return change < VL_SSC_MeasStatus_6DStatusInvalid; });
    return told;
  };
  bench.ask(protocol::build_SetContinuousTimeModeParams(10, 120, 0, VL_RT_Sphere));
  EXPECT_TRUE(presses().empty());
  bench.ask(protocol::build_SetLongSystemParameter(VL_SP_ProbeConfig_ButtonEvent, VL_PBE_EnableEvents));
  EXPECT_EQ(presses(), (std::vector<std::int32_t>{100, 101, 100, 101}));
  bench.ask(protocol::build_SetLongSystemParameter(VL_SP_ProbeConfig_Button, VL_PCB_4ButtonMode));
  EXPECT_EQ(presses(), (std::vector<std::int32_t>{110, 111, 110, 111}));
}

TEST(ProbePosition, IsShownInPlaceOfTheReflectors) {
  ProbeBench bench(VL_MM_6DStationary);
  bench.ask(request_of(VL_C_SetSystemSettings, wishes(false, true)));
  const auto packets = bench.after(1.01);
  EXPECT_TRUE(only(packets, VL_DT_ReflectorPosResult).empty());
  const auto shown = only(packets, VL_DT_ProbePosResult);
  ASSERT_EQ(shown.size(), 3u);
  const auto position = read_as<ProbePosResultT>(shown[0].data());
  EXPECT_LT(length(position_of(position) - kNest), 1e-12);
  EXPECT_LT(difference(quaternion_of(position), probe_attitude(kNest)), 1e-12);
  EXPECT_EQ(position.iInternalTipAdapterId, 1);
  bench.ask(protocol::build_SetMeasurementMode(VL_MM_Stationary));
  EXPECT_TRUE(only(bench.after(1), VL_DT_ProbePosResult).empty());
}

}  // namespace
}  // namespace kestrine::simulator
