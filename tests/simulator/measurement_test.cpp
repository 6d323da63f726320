// Stationary points against the geometry and the noise that are stated.
#include <cmath>

#include "bench.h"
#include "simulator/world.h"

namespace kestrine::simulator {
namespace {

struct Measured {
  Vector values;
  Vector deviations;
};

std::vector<Bytes> measure(Bench& bench) {
  EXPECT_EQ(bench.status(protocol::build_StartMeasurement()), VL_RS_AllOK);
  return bench.after(4);
}

SingleMeasResultT measure_point(Bench& bench) {
  const auto results = only(measure(bench), VL_DT_SingleMeasResult);
  EXPECT_EQ(results.size(), 1u);
  return results.empty() ? SingleMeasResultT{} : read_as<SingleMeasResultT>(results[0].data());
}

Vector values(const auto& result) {
  return {result.dVal1, result.dVal2, result.dVal3};
}

protocol::Request go_to(const Vector& place) {
  return protocol::build_GoPosition(place.x, place.y, place.z, 1);
}

TEST(StationaryPoint, LiesOnEveryNestWithinItsOwnUncertainty) {
  Bench bench;
  bench.initialise();
  double squares = 0;
  for (const Nest& nest : nests()) {
    SCOPED_TRACE(nest.name);
    ASSERT_EQ(bench.status(go_to(nest.place + Vector{0.01, 0.01, 0.01})), VL_RS_AllOK);
    const SingleMeasResultT result = measure_point(bench);
    const Vector off = values(result) - nest.place;
    EXPECT_LT(length(off), 5 * result.dStdTotal);
    EXPECT_GT(length(off), 0);
    squares += std::pow(length(off) / result.dStdTotal, 2);
    // 750 readings: the mean is sqrt(750) times better than what one reading is beforehand said to be.
    EXPECT_NEAR(result.dAprioriStdTotal / result.dStdTotal, std::sqrt(750), 3);
    const double across = 15e-6 + 6e-6 * length(nest.place);
    EXPECT_NEAR(result.dAprioriStdTotal, std::sqrt(2 * across * across + 1e-10), 1e-9);
  }
  const double spread = std::sqrt(squares / static_cast<double>(nests().size()));
  EXPECT_GT(spread, 0.5);
  EXPECT_LT(spread, 1.6);
}

TEST(StationaryPoint, IsAcknowledgedAtOnceAndTakesItsTime) {
  Bench bench;
  bench.initialise();
  bench.ask(protocol::build_SetStationaryModeParams(700, 1));
  const auto acknowledged = bench.ask(protocol::build_StartMeasurement());
  ASSERT_EQ(acknowledged.size(), 1u);
  EXPECT_EQ(acknowledged[0].size(), 16u);
  EXPECT_TRUE(bench.after(0.68).empty());
  EXPECT_EQ(only(bench.after(0.05), VL_DT_SingleMeasResult).size(), 1u);
}

TEST(StationaryPoint, IsTheSameForTheSameSeedAndAnotherForAnother) {
  const auto run = [](std::uint64_t seed) {
    Options options;
    options.seed = seed;
    Bench bench(options);
    bench.initialise();
    measure_point(bench);
    return values(measure_point(bench));
  };
  EXPECT_EQ(run(5), run(5));
  EXPECT_FALSE(run(5) == run(6));
}

TEST(StationaryPoint, HasCovariancesInTheExtendedStatisticMode) {
  Bench bench;
  bench.initialise();
  bench.ask(go_to({2.2, 0.4, -0.3}));
  const SingleMeasResultT standard = measure_point(bench);
  bench.ask(protocol::build_SetStatisticMode(VL_SM_Extended, VL_SM_Standard));
  const auto results = only(measure(bench), VL_DT_SingleMeasResult2);
  ASSERT_EQ(results.size(), 1u);
  const auto extended = read_as<SingleMeasResult2T>(results[0].data());
  EXPECT_NEAR(extended.dAprioriStd1, standard.dAprioriStd1, 1e-9);
  EXPECT_GT(std::abs(extended.dAprioriCovar12), 0);
  EXPECT_LT(std::abs(extended.dAprioriCovar12), extended.dAprioriStd1 * extended.dAprioriStd2);
  EXPECT_NEAR(length(values(extended) - values(standard)), 0, 2e-5);
}

TEST(StationaryPoint, IsToldInTheUnitsAndTheSystemThatAreSet) {
  Bench bench;
  bench.initialise();
  bench.ask(go_to({2.2, 0.4, -0.3}));
  bench.ask(protocol::build_SetUnits(VL_LU_Inch, VL_AU_Degree, VL_TU_Fahrenheit, VL_PU_HPascal, VL_HU_RH));
  const SingleMeasResultT inches = measure_point(bench);
  EXPECT_NEAR(inches.dVal1, 2.2 / 0.0254, 0.002);
  EXPECT_NEAR(inches.dTemperature, 68, 1e-9);
  bench.ask(protocol::build_SetUnits(VL_LU_Millimeter, VL_AU_Degree, VL_TU_Celsius, VL_PU_Mbar, VL_HU_RH));
  bench.ask(protocol::build_SetCoordinateSystemType(VL_CS_SCW));
  const SingleMeasResultT spherical = measure_point(bench);
  EXPECT_NEAR(spherical.dVal1, -std::atan2(0.4, 2.2) * 180 / M_PI, 1e-3);
  EXPECT_NEAR(spherical.dVal3, 1000 * std::sqrt(2.2 * 2.2 + 0.4 * 0.4 + 0.3 * 0.3), 0.01);
  EXPECT_NEAR(spherical.dAprioriStd3, 0.01, 1e-6);  // the distance meter's 10 micrometres
}

TEST(StationaryPoint, NeedsATargetUnderTheBeam) {
  Bench bench;
  bench.initialise();
  EXPECT_EQ(bench.status(go_to({3, 3, 0})), VL_RS_NoDistanceSet);
  EXPECT_EQ(bench.status(protocol::build_StartMeasurement()), VL_RS_NoDistanceSet);
  EXPECT_EQ(bench.status(protocol::build_GoBirdBath()), VL_RS_AllOK);
  bench.ask(protocol::build_SwitchLaser(0));
  EXPECT_EQ(bench.status(protocol::build_StartMeasurement()), VL_RS_NoDistanceSet);
}

TEST(StationaryPoint, LeavesNoResultWhenItIsStopped) {
  Bench bench;
  bench.initialise();
  bench.ask(protocol::build_StartMeasurement());
  EXPECT_EQ(bench.status(protocol::build_StartMeasurement()), VL_RS_ServerBusy);
  EXPECT_EQ(bench.status(protocol::build_StopMeasurement()), VL_RS_AllOK);
  EXPECT_TRUE(bench.after(4).empty());
  EXPECT_EQ(bench.status(protocol::build_StartMeasurement()), VL_RS_AllOK);
}

TEST(GoAndMeasure, EndsWithAResultAlsoWhereThereIsNothing) {
  Bench bench;
  bench.initialise();
  bench.client->packets.clear();
  EXPECT_EQ(bench.status(protocol::build_GoAndMeasure(2.5, 0.01, 0.15)), VL_RS_AllOK);
  const auto found = only(bench.after(4), VL_DT_SingleMeasResult);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_NEAR(length(values(read_as<SingleMeasResultT>(found[0].data())) - Vector{2.5, 0, 0.15}), 0, 2e-5);
  EXPECT_EQ(bench.status(protocol::build_GoAndMeasure(5, 5, 0)), VL_RS_AllOK);
  const auto missed = only(bench.after(4), VL_DT_SingleMeasResult);
  ASSERT_EQ(missed.size(), 1u);
  EXPECT_EQ(code_of(missed[0]), VL_RS_NoStationaryResult);
  EXPECT_EQ(bench.status(protocol::build_GoAndMeasure(500, 0, 0)), VL_RS_Parameter3OutOfRangeNOK);
}

}  // namespace
}  // namespace kestrine::simulator
