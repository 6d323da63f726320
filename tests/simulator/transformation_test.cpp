// Nominal and actual points over the wire, and what becomes of them.
#include <numbers>

#include "bench.h"

namespace kestrine::simulator {
namespace {

const std::vector<Vector> kNominal{{1000, 0, 0}, {0, 2000, 0}, {0, 0, 1500}, {700, 800, 900}};

int add_nominal(Bench& bench, const Vector& p, double deviation = 0.01) {
  return bench.status(
      protocol::build_AddTransformationNominalPoint(p.x, p.y, p.z, deviation, deviation, deviation, 0, 0, 0));
}
int add_actual(Bench& bench, const Vector& p, double deviation = 0.01) {
  return bench.status(
      protocol::build_AddTransformationActualPoint(p.x, p.y, p.z, deviation, deviation, deviation, 0, 0, 0));
}
void set_units(Bench& bench, VL_CoordinateSystemType type = VL_CS_RHR) {
  bench.ask(protocol::build_SetUnits(VL_LU_Millimeter, VL_AU_Degree, VL_TU_Celsius, VL_PU_Mbar, VL_HU_RH));
  bench.ask(protocol::build_SetCoordinateSystemType(type));
}
CallTransformationRT call(Bench& bench) {
  return bench.answer<CallTransformationRT>(protocol::build_CallTransformation());
}
Vector measured(Bench& bench, const Vector& target) {
  Frame frame = bench.tracker.frame();
  bench.tracker.state().target = frame.to_inside(target);
  bench.ask(protocol::build_StartMeasurement());
  const auto results = only(bench.after(3), VL_DT_SingleMeasResult);
  if (results.empty()) {
    ADD_FAILURE() << "no point";
    return {};
  }
  const auto point = read_as<SingleMeasResultT>(results[0].data());
  return {point.dVal1, point.dVal2, point.dVal3};
}

TEST(Transformations, BringMeasuredPointsOntoTheNominalOnes) {
  for (const auto type : {VL_CS_RHR, VL_CS_LHRY, VL_CS_SCW, VL_CS_CCC}) {
    SCOPED_TRACE(type);
    Bench bench;
    bench.initialise();
    set_units(bench, type);
    const Pose part{{3, -1, 0.5}, rotation({0.2, -0.1, 1}), 1};
    Frame told = bench.tracker.frame();
    std::vector<Vector> actual, nominal;
    for (const Vector& place : {Vector{2, 0, 0}, {2.5, 1, 0.2}, {1.8, -1, 0.7}, {3, 0.3, -0.6}}) {
      actual.push_back(measured(bench, told.to_outside(place)));
      nominal.push_back(told.to_outside(part.apply(place)));
      ASSERT_EQ(add_actual(bench, actual.back()), VL_RS_AllOK);
      ASSERT_EQ(add_nominal(bench, nominal.back()), VL_RS_AllOK);
    }
    const auto fit = call(bench);
    EXPECT_EQ(fit.packetInfo.status, VL_RS_AllOK);
    EXPECT_LT(double{fit.dMaxDev}, 0.1);  // millimetres
    EXPECT_GT(double{fit.dRMS}, 1e-4);
    bench.ask(protocol::build_SetTransformationParams(fit.dTransVal1, fit.dTransVal2, fit.dTransVal3, fit.dRotVal1,
                                                      fit.dRotVal2, fit.dRotVal3, fit.dScale));
    SystemSettingsDataT settings;
    settings.bApplyTransformationParams = 1;
    bench.ask(request_of(VL_C_SetSystemSettings, settings));
    const Vector again = told.to_inside(measured(bench, nominal[3]));
    EXPECT_NEAR(length(again - told.to_inside(nominal[3])), 0, 2e-4);
  }
}

TEST(Transformations, TellEveryPointWithItsResidualInTheUnitsSet) {
  Bench bench;
  set_units(bench);
  for (const Vector& p : kNominal) {
    add_nominal(bench, p);
    add_actual(bench, {p.y, -p.x, p.z + (p == kNominal[3] ? 0.4 : 0.0)});
  }
  const auto fit = call(bench);
  EXPECT_NEAR(fit.dRotVal3, 90, 0.05);
  EXPECT_EQ(double{fit.dScale}, 1);
  EXPECT_EQ(double{fit.dScaleStd}, 0);
  const auto packets = only(bench.ask(protocol::build_GetTransformedPoints()), VL_DT_Command);
  ASSERT_EQ(packets.size(), kNominal.size());
  Vector sum;
  double squares = 0;
  for (std::size_t i = 0; i < packets.size(); ++i) {
    const auto item = read_as<GetTransformedPointsRT>(packets[i].data());
    EXPECT_EQ(item.iTotalPoints, 4);
    const Vector residual{item.dResidualVal1, item.dResidualVal2, item.dResidualVal3};
    EXPECT_NEAR(item.dVal1 - item.dResidualVal1, kNominal[i].x, 1e-6);
    EXPECT_NEAR(item.dVal3 - item.dResidualVal3, kNominal[i].z, 1e-6);
    EXPECT_NEAR(item.dStd1, 0.01, 1e-6);
    EXPECT_NEAR(item.dStdTotal, 0.01 * std::sqrt(3), 1e-6);
    sum = sum + residual;
    squares += length(residual) * length(residual);
  }
  EXPECT_NEAR(length(sum), 0, 1e-6);
  EXPECT_NEAR(std::sqrt(squares / 4), fit.dRMS, 1e-9);
  bench.ask(protocol::build_SetUnits(VL_LU_Inch, VL_AU_Degree, VL_TU_Celsius, VL_PU_Mbar, VL_HU_RH));
  const auto in_inches = only(bench.ask(protocol::build_GetTransformedPoints()), VL_DT_Command);
  EXPECT_NEAR(read_as<GetTransformedPointsRT>(in_inches[3].data()).dVal1 * 25.4,
              read_as<GetTransformedPointsRT>(packets[3].data()).dVal1, 1e-9);
}

TEST(Transformations, AreAskedForAsTheInputParametersSay) {
  Bench bench;
  set_units(bench);
  for (const Vector& p : kNominal) {
    add_nominal(bench, 1.5 * p + Vector{100, 200, 300});
    add_actual(bench, p);
  }
  const auto set = [&](VL_TransResultType type, double scale_deviation, double shift_deviation) {
    return bench.status(protocol::build_SetTransformationInputParams(type, 99, 0, 0, 0, 0, 0, 1, shift_deviation,
                                                                     kUnknown, kApproximate, kUnknown, kUnknown,
                                                                     kUnknown, scale_deviation));
  };
  EXPECT_EQ(set(VL_TR_AsTransformation, kUnknown, kUnknown), VL_RS_AllOK);
  EXPECT_NEAR(call(bench).dScale, 1.5, 1e-9);
  EXPECT_NEAR(call(bench).dTransVal1, 100, 1e-6);
  EXPECT_EQ(set(VL_TR_AsTransformation, kUnknown, 0), VL_RS_AllOK);
  EXPECT_NEAR(call(bench).dTransVal1, 99, 1e-9);
  EXPECT_EQ(set(VL_TR_AsOrientation, kUnknown, kUnknown), VL_RS_AllOK);  // a station has no scale
  EXPECT_EQ(double{call(bench).dScale}, 1);
  EXPECT_EQ(set(VL_TR_AsTransformation, -1, kUnknown), VL_RS_WrongParameter15);
  // Marks are the same in every unit.
  bench.ask(protocol::build_SetUnits(VL_LU_Inch, VL_AU_Gon, VL_TU_Celsius, VL_PU_Mbar, VL_HU_RH));
  const auto input =
      bench.answer<GetTransformationInputParamsRT>(protocol::build_GetTransformationInputParams()).TransformationData;
  EXPECT_EQ(double{input.dTransStdVal1}, kUnknown);
  EXPECT_EQ(double{input.dTransStdVal3}, kApproximate);
  EXPECT_NEAR(input.dTransVal1 * 25.4, 99, 1e-9);
}

TEST(Transformations, TakeDeviationsInTheCoordinatesOfThePoints) {
  Bench bench;
  set_units(bench, VL_CS_SCC);
  const double quarter = 90;
  // At one metre straight along Y: 0.1 degrees across, 2 mm up and down, 0.3 mm along.
  bench.ask(protocol::build_AddTransformationActualPoint(quarter, quarter, 1000, 0.1, 0.2, 0.3, 0, 0, 0));
  const KnownPoint& point = bench.tracker.state().actual_points.at(0);
  const double degree = std::numbers::pi / 180;
  EXPECT_NEAR(std::sqrt(point.covariance[0][0]), 0.1 * degree, 1e-9);
  EXPECT_NEAR(std::sqrt(point.covariance[1][1]), 3e-4, 1e-9);
  EXPECT_NEAR(std::sqrt(point.covariance[2][2]), 0.2 * degree, 1e-9);
  bench.ask(protocol::build_AddTransformationActualPoint(quarter, quarter, 1000, 0.1, 0.2, kUnknown, 0, 0, 0));
  ASSERT_EQ(bench.tracker.state().actual_points.at(1).unknown.size(), 1u);
  EXPECT_NEAR(bench.tracker.state().actual_points[1].unknown[0].y, 1, 1e-9);
}

TEST(Transformations, FailHonestly) {
  Bench bench;
  const auto refused = [&] { return bench.status(protocol::build_CallTransformation()); };
  EXPECT_EQ(refused(), VL_RS_InvalidInputData);
  for (int i = 0; i < 4; ++i) {
    add_nominal(bench, kNominal[static_cast<std::size_t>(i)]);
    add_actual(bench, kNominal[static_cast<std::size_t>(i)]);
    EXPECT_EQ(refused(), i < 2 ? VL_RS_InvalidInputData : VL_RS_AllOK) << i;
  }
  EXPECT_EQ(bench.status(protocol::build_GetTransformedPoints()), VL_RS_AllOK);
  add_actual(bench, {1, 2, 3});
  EXPECT_EQ(bench.status(protocol::build_GetTransformedPoints()), VL_RS_UsageConflict);  // of other lists than these
  EXPECT_EQ(refused(), VL_RS_InvalidInputData);
  bench.ask(protocol::build_ClearTransformationActualPointList());
  EXPECT_EQ(refused(), VL_RS_InvalidInputData);
  bench.ask(protocol::build_ClearTransformationNominalPointList());
  for (int i = 0; i < 5; ++i) {
    add_nominal(bench, {1.0 * i, 2.0 * i, 3.0 * i});
    add_actual(bench, {1.0 * i, 2.0 * i, 3.0 * i});
  }
  EXPECT_EQ(refused(), VL_RS_InvalidInputData);
  const auto none = bench.answer<GetTransformedPointsRT>(protocol::build_GetTransformedPoints());
  EXPECT_EQ(none.packetInfo.status, VL_RS_UsageConflict);
  EXPECT_EQ(none.iTotalPoints, 0);

  EXPECT_EQ(add_nominal(bench, {std::nan(""), 0, 0}), VL_RS_WrongParameter1);
  EXPECT_EQ(add_nominal(bench, {1, 0, 0}, -1), VL_RS_Parameter4OutOfRangeNOK);
  EXPECT_EQ(bench.status(protocol::build_AddTransformationActualPoint(1, 2, 3, 1, 1, 1, 5, 0, 0)),
            VL_RS_InvalidInputData);
  bench.ask(protocol::build_ClearTransformationNominalPointList());
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(add_nominal(bench, {1, 2, 3}), VL_RS_AllOK);
  EXPECT_EQ(add_nominal(bench, {1, 2, 3}), VL_RS_MaxEntriesExceeded);
}

}  // namespace
}  // namespace kestrine::simulator
