// Stationary points against the geometry and the noise that are stated.
#include <cmath>

#include "bench.h"
#include "simulator/tracker/world.h"

namespace kestrine::simulator {
namespace {

SingleMeasResultT measure_point(Bench& bench) {
  return bench.measured<SingleMeasResultT>(VL_DT_SingleMeasResult);
}

protocol::Request go_to(const Vector& place) {
  return build_GoPosition(place.x(), place.y(), place.z(), 1);
}

using StationaryPoint = BenchTest<>;

TEST_F(StationaryPoint, LiesOnEveryNestWithinItsOwnUncertainty) {
  double squares = 0;
  for (const Nest& nest : nests()) {
    SCOPED_TRACE(nest.name);
    set_up({go_to(nest.place + Vector{0.01, 0.01, 0.01})});
    const SingleMeasResultT result = measure_point(*this);
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

TEST_F(StationaryPoint, IsTheSameForTheSameSeedAndAnotherForAnother) {
  const auto run = [](std::uint64_t seed) {
    Bench bench({build_Initialize()}, {.seed = seed});
    measure_point(bench);
    return values_of(measure_point(bench));
  };
  EXPECT_EQ(run(5), run(5));
  EXPECT_FALSE(run(5) == run(6));
}

TEST_F(StationaryPoint, HasCovariancesInTheExtendedStatisticMode) {
  ask(go_to({2.2, 0.4, -0.3}));
  const SingleMeasResultT standard = measure_point(*this);
  set_up({build_SetStatisticMode(VL_SM_Extended, VL_SM_Standard)});
  const auto extended = measured<SingleMeasResult2T>(VL_DT_SingleMeasResult2);
  EXPECT_NEAR(extended.dAprioriStd1, standard.dAprioriStd1, 1e-9);
  EXPECT_GT(std::abs(extended.dAprioriCovar12), 0);
  EXPECT_LT(std::abs(extended.dAprioriCovar12), extended.dAprioriStd1 * extended.dAprioriStd2);
  EXPECT_NEAR(length(values_of(extended) - values_of(standard)), 0, 2e-5);
}

TEST_F(StationaryPoint, ComesInTheUnitsAndTheSystemThatAreSet) {
  set_up(
      {go_to({2.2, 0.4, -0.3}), build_SetUnits(VL_LU_Inch, VL_AU_Degree, VL_TU_Fahrenheit, VL_PU_HPascal, VL_HU_RH)});
  const SingleMeasResultT inches = measure_point(*this);
  EXPECT_NEAR(inches.dVal1, 2.2 / 0.0254, 0.002);
  EXPECT_NEAR(inches.dTemperature, 68, 1e-9);
  set_units(VL_LU_Millimeter);
  ask(build_SetCoordinateSystemType(VL_CS_SCW));
  const SingleMeasResultT spherical = measure_point(*this);
  EXPECT_NEAR(spherical.dVal1, -std::atan2(0.4, 2.2) * 180 / M_PI, 1e-3);
  EXPECT_NEAR(spherical.dVal3, 1000 * std::sqrt(2.2 * 2.2 + 0.4 * 0.4 + 0.3 * 0.3), 0.01);
  EXPECT_NEAR(spherical.dAprioriStd3, 0.01, 1e-6);  // the distance meter's 10 micrometres
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

}  // namespace
}  // namespace kestrine::simulator
