// Stationary points against the geometry and the noise that are stated, and centres of spheres and circles: the fit
// against known shapes, and the modes that measure them.
#include <cmath>
#include <tuple>

#include "bench.h"
#include "simulator/mathematics/centre_fit.h"
#include "simulator/tracker/world.h"

namespace kestrine::simulator {
namespace {

protocol::Request go_to(const Vector& place) {
  return build_GoPosition(place.x(), place.y(), place.z(), 1);
}

using StationaryPoint = BenchTest<>;

TEST_F(StationaryPoint, LiesOnEveryNestWithinItsOwnUncertainty) {
  double squares = 0;
  for (const Nest& nest : nests()) {
    SCOPED_TRACE(nest.name);
    set_up({go_to(nest.place + Vector{0.01, 0.01, 0.01})});
    const SingleMeasResultT result = measured();
    const Vector off = values_of(result) - nest.place;
    EXPECT_LT(length(off), 5 * result.dStdTotal);
    EXPECT_GT(length(off), 0);
    squares += std::pow(length(off) / result.dStdTotal, 2);
    // 750 readings: the mean is sqrt(750) times better than what one reading is beforehand said to be.
    EXPECT_NEAR(result.dAprioriStdTotal / result.dStdTotal, std::sqrt(750), 3);
    const double across = 15e-6 + 6e-6 * length(nest.place);
    EXPECT_NEAR(result.dAprioriStdTotal, std::sqrt(2 * across * across + 1e-10), 1e-9);
  }
  EXPECT_NEAR(std::sqrt(squares / static_cast<double>(nests().size())), 1.05, 0.55);
}

TEST_F(StationaryPoint, IsAcknowledgedAtOnceAndTakesItsTime) {
  ask(build_SetStationaryModeParams(700, 1));
  EXPECT_EQ(ask(build_StartMeasurement()).size(), 1u);
  EXPECT_TRUE(after(0.68).empty());
  EXPECT_EQ(only(after(0.05), VL_DT_SingleMeasResult).size(), 1u);
}

TEST_F(StationaryPoint, HasCovariancesInTheExtendedStatisticMode) {
  ask(go_to({2.2, 0.4, -0.3}));
  const SingleMeasResultT standard = measured();
  set_up({build_SetStatisticMode(VL_SM_Extended, VL_SM_Standard)});
  const auto extended = measured<SingleMeasResult2T>(VL_DT_SingleMeasResult2);
  EXPECT_NEAR(extended.dAprioriStd1, standard.dAprioriStd1, 1e-9);
  EXPECT_GT(std::abs(extended.dAprioriCovar12), 0);
  EXPECT_LT(std::abs(extended.dAprioriCovar12), extended.dAprioriStd1 * extended.dAprioriStd2);
  EXPECT_NEAR(length(values_of(extended) - values_of(standard)), 0, 2e-5);
}

TEST_F(StationaryPoint, NeedsATargetUnderTheBeam) {
  EXPECT_EQ(statuses({go_to({3, 3, 0}), build_StartMeasurement()}), Codes(2, VL_RS_NoDistanceSet));
  set_up({build_GoBirdBath(), build_SwitchLaser(0)});
  EXPECT_EQ(statuses({build_StartMeasurement(), build_GoBirdBath()}), Codes(2, VL_RS_NoDistanceSet));
}

TEST_F(StationaryPoint, LeavesNoResultWhenItIsStopped) {
  EXPECT_EQ(statuses({build_StartMeasurement(), build_StartMeasurement(), build_StopMeasurement()}),
            (Codes{VL_RS_AllOK, VL_RS_ServerBusy, VL_RS_AllOK}));
  EXPECT_TRUE(after(4).empty());
  EXPECT_EQ(status(build_StartMeasurement()), VL_RS_AllOK);
}

TEST_F(StationaryPoint, FollowsAMoveAlsoWhereThereIsNothing) {
  for (const auto& [place, expected] :
       {std::pair{Vector{2.5, 0.01, 0.15}, VL_RS_AllOK}, {Vector{5, 5, 0}, VL_RS_NoStationaryResult}}) {
    set_up({build_GoAndMeasure(place.x(), place.y(), place.z())});
    const auto found = first<SingleMeasResultT>(after(4), VL_DT_SingleMeasResult);
    EXPECT_EQ(found.packetInfo.status, expected);
    if (expected == VL_RS_AllOK) expect_near(values_of(found), {2.5, 0, 0.15}, 2e-5);
  }
}

using Points = std::vector<Vector>;

Points on_sphere(const Vector& centre, double radius, double reach) {
  Points points;
  for (int i = 0; i < 40; ++i) points.push_back(centre + to_vector({2.4 * i, reach * i / 39, radius}));
  return points;
}

Points on_circle(const Vector& centre, double radius, const Matrix& plane, double reach) {
  Points points;
  for (int i = 0; i < 30; ++i) points.push_back(centre + plane * to_vector({reach * i / 29, M_PI / 2, radius}));
  return points;
}

TEST(CentreFit, FindsTheCentreOfExactPoints) {
  for (const Vector& centre : {Vector{0, 0, 0}, {2, -1, 0.3}, {40, 30, -20}}) {
    for (const double reach : {3.0, 1.0, 0.3}) {
      for (const std::optional<double> radius : {std::optional<double>(), std::optional(0.25)}) {
        const Points circle = on_circle(centre, 0.25, rotation({0.4, -1.2, 2}), 2 * reach);
        for (const auto& fit : {fit_sphere(on_sphere(centre, 0.25, reach), radius), fit_circle(circle, radius)}) {
          ASSERT_TRUE(fit);
          expect_near(fit->centre, centre);
          EXPECT_NEAR(fit->radius, 0.25, 1e-9);
        }
      }
    }
  }
}

TEST(CentreFit, NeedsPointsThatDetermineACentre) {
  const Points sphere = on_sphere({2, 0, 0}, 0.2, 2);
  EXPECT_FALSE(fit_sphere(std::span(sphere).first(3), 0.2));
  const auto exact = fit_sphere(std::span(sphere).first(4), {});
  ASSERT_TRUE(exact);
  EXPECT_FALSE(exact->variance);  // nothing is left over to judge them by
  const Points circle = on_circle({2, 0, 0}, 0.2, rotation({0.5, 0, 0}), 3);
  EXPECT_FALSE(fit_sphere(circle, 0.2));
  EXPECT_FALSE(fit_circle(std::span(circle).first(2), 0.2));
  Points line;
  for (int i = 0; i < 10; ++i) line.push_back({1 + 0.1 * i, 0.2 * i, 0});
  EXPECT_FALSE(fit_circle(line, {}));
  EXPECT_FALSE(fit_sphere(Points(8, Vector{NAN, 1, 1}), {}));
}

struct CentreBench : Bench {
  explicit CentreBench(VL_MeasMode mode) { set_up({build_SetMeasurementMode(mode)}), listen(); }
  Packets found(double seconds = 20) {
    EXPECT_EQ(status(build_StartMeasurement()), VL_RS_AllOK);
    return after(seconds);
  }
};

TEST(CentreModes, FindTheWorldsCentreWithinItsUncertainty) {
  for (const auto& [mode, probe_mode, centre] : {std::tuple{VL_MM_SphereCenter, VL_MM_6DSphereCenter, kBallCentre},
                                                 {VL_MM_CircleCenter, VL_MM_6DCircleCenter, kDiscCentre}}) {
    CentreBench bench(mode);
    const auto packets = bench.found();
    EXPECT_EQ(changes(packets), (Codes{VL_SSC_MeasurementCountReached, VL_SSC_MeasStatus_Ready}));
    ASSERT_EQ(packets.size(), 3u);  // the points themselves are not sent
    const auto result = first<SingleMeasResultT>(packets, VL_DT_SingleMeasResult);
    EXPECT_EQ((Codes{result.measMode, result.packetInfo.status}), (Codes{mode, VL_RS_AllOK}));
    EXPECT_LT(length(values_of(result) - centre), 4 * result.dStdTotal);
    EXPECT_NEAR(result.dStdTotal / result.dAprioriStdTotal, 1, 0.3);
    bench.ask(build_SetMeasurementMode(probe_mode));
    bench.set_units(VL_LU_Millimeter);
    const auto probe = bench.measured<ProbeStationaryResultT>(VL_DT_StationaryProbeMeasResult, 20);
    EXPECT_EQ(probe.measMode, probe_mode);
    const Vector off = vector(probe.dPosition1, probe.dPosition2, probe.dPosition3) - 1000 * centre;
    EXPECT_LT(length(off), 4 * probe.dStdDevPositionTotal);
    EXPECT_LT(double{probe.dStdDevPositionTotal}, 0.1);
  }
}

TEST(CentreModes, TakeTheirTimeAndNoMorePointsThanAskedFor) {
  CentreBench bench(VL_MM_CircleCenter);
  bench.ask(build_SetCircleCenterModeParams(0.02, 60, 0, 0));
  // 59 steps of 20 mm at the rim's 314 mm a second, each ending at a whole millisecond.
  EXPECT_TRUE(only(bench.found(3.7), VL_DT_SingleMeasResult).empty());
  EXPECT_EQ(only(bench.after(0.2), VL_DT_SingleMeasResult).size(), 1u);
}

TEST(CentreModes, MakeAResultOfWhatThereIsWhenStopped) {
  for (const auto& [mode, none] :
       {std::pair{VL_MM_SphereCenter, VL_RS_NoSphereCenterFound}, {VL_MM_CircleCenter, VL_RS_NoCircleCenterFound}}) {
    CentreBench bench(mode);
    const auto stop_after = [&](double seconds) {
      bench.found(seconds);
      const auto packets = bench.ask(build_StopMeasurement());
      EXPECT_EQ(type_of(packets.at(0)), VL_DT_SingleMeasResult);
      EXPECT_EQ(code_of(packets.at(1)), VL_C_StopMeasurement);
      return code_of(packets.at(0));
    };
    EXPECT_EQ(stop_after(0), none);
    EXPECT_EQ(stop_after(1), VL_RS_AllOK);
  }
}

}  // namespace
}  // namespace kestrine::simulator
