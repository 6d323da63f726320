// Nominal and actual points over the wire, and what becomes of them.
#include <numbers>

#include "bench.h"

namespace kestrine::simulator {
namespace {

const std::vector<Vector> kNominal{{1000, 0, 0}, {0, 2000, 0}, {0, 0, 1500}, {700, 800, 900}};

struct PointLists : Bench {
  explicit PointLists(VL_CoordinateSystemType type = VL_CS_RHR) {
    set_units(VL_LU_Millimeter);
    ask(build_SetCoordinateSystemType(type));
  }
  int add_nominal(const Vector& p, double s = 0.01) {
    return status(build_AddTransformationNominalPoint(p.x(), p.y(), p.z(), s, s, s, 0, 0, 0));
  }
  int add_actual(const Vector& p, double s = 0.01) {
    return status(build_AddTransformationActualPoint(p.x(), p.y(), p.z(), s, s, s, 0, 0, 0));
  }
  void add_both(const Vector& p) { add_nominal(p), add_actual(p); }
  CallTransformationRT call() { return answer<CallTransformationRT>(build_CallTransformation()); }
  Vector measured(const Vector& target) {
    tracker.state().target = tracker.frame().to_place(target);
    ask(build_StartMeasurement());
    return values_of(result<SingleMeasResultT>(VL_DT_SingleMeasResult, 3));
  }
};

using Transformations = BenchTest<PointLists>;

TEST_F(Transformations, BringMeasuredPointsOntoTheNominalOnes) {
  for (const auto type : {VL_CS_RHR, VL_CS_LHRY, VL_CS_SCW, VL_CS_CCC}) {
    SCOPED_TRACE(type);
    PointLists bench(type);
    bench.initialise();
    const Pose part{{3, -1, 0.5}, rotation({0.2, -0.1, 1}), 1};
    const Frame frame = bench.tracker.frame();
    Vector nominal;
    for (const Vector& place : {Vector{2, 0, 0}, {2.5, 1, 0.2}, {1.8, -1, 0.7}, {3, 0.3, -0.6}}) {
      nominal = frame.to_values(part.apply(place));
      ASSERT_EQ(bench.add_actual(bench.measured(frame.to_values(place))), VL_RS_AllOK);
      ASSERT_EQ(bench.add_nominal(nominal), VL_RS_AllOK);
    }
    const auto fit = bench.call();
    EXPECT_EQ(fit.packetInfo.status, VL_RS_AllOK);
    EXPECT_LT(double{fit.dMaxDev}, 0.1);  // millimetres
    EXPECT_GT(double{fit.dRMS}, 1e-4);
    bench.set_up({build_SetTransformationParams(fit.dTransVal1, fit.dTransVal2, fit.dTransVal3, fit.dRotVal1,
                                                fit.dRotVal2, fit.dRotVal3, fit.dScale),
                  request_of(VL_C_SetSystemSettings, SystemSettingsDataT{.bApplyTransformationParams = 1})});
    expect_near(frame.to_place(bench.measured(nominal)), frame.to_place(nominal), 1.15e-4);
  }
}

TEST_F(Transformations, ShowEveryPointWithItsResidualInTheUnitsSet) {
  for (const Vector& p : kNominal) {
    add_nominal(p);
    add_actual({p.y(), -p.x(), p.z() + (p == kNominal[3] ? 0.4 : 0.0)});
  }
  const auto fit = call();
  EXPECT_NEAR(fit.dRotVal3, 90, 0.05);
  EXPECT_EQ(double{fit.dScale}, 1);
  EXPECT_EQ(double{fit.dScaleStd}, 0);
  const auto packets = only(ask(build_GetTransformedPoints()), VL_DT_Command);
  ASSERT_EQ(packets.size(), kNominal.size());
  Vector sum;
  double squares = 0;
  for (std::size_t i = 0; i < packets.size(); ++i) {
    const auto item = read_as<GetTransformedPointsRT>(packets[i].data());
    EXPECT_EQ(item.iTotalPoints, 4);
    const Vector residual = vector(item.dResidualVal1, item.dResidualVal2, item.dResidualVal3);
    expect_near(values_of(item) - residual, kNominal[i], 1e-6);
    EXPECT_NEAR(item.dStd1, 0.01, 1e-6);
    EXPECT_NEAR(item.dStdTotal, 0.01 * std::sqrt(3), 1e-6);
    sum += residual;
    squares += residual.squaredNorm();
  }
  expect_near(sum, {}, 1e-6);
  EXPECT_NEAR(std::sqrt(squares / 4), fit.dRMS, 1e-9);
  set_units(VL_LU_Inch);
  expect_near(25.4 * values_of(answer<GetTransformedPointsRT>(build_GetTransformedPoints())),
              values_of(first<GetTransformedPointsRT>(packets)));
}

TEST_F(Transformations, AreAskedForAsTheInputParametersSay) {
  for (const Vector& p : kNominal) {
    add_nominal(1.5 * p + Vector{100, 200, 300});
    add_actual(p);
  }
  const auto set = [&](VL_TransResultType type, double scale_deviation, double shift_deviation) {
    return status(build_SetTransformationInputParams(type, 99, 0, 0, 0, 0, 0, 1, shift_deviation, kUnknown,
                                                     kApproximate, kUnknown, kUnknown, kUnknown, scale_deviation));
  };
  EXPECT_EQ(set(VL_TR_AsTransformation, kUnknown, kUnknown), VL_RS_AllOK);
  EXPECT_NEAR(call().dScale, 1.5, 1e-9);
  EXPECT_NEAR(call().dTransVal1, 100, 1e-6);
  EXPECT_EQ(set(VL_TR_AsTransformation, kUnknown, 0), VL_RS_AllOK);
  EXPECT_NEAR(call().dTransVal1, 99, 1e-9);
  EXPECT_EQ(set(VL_TR_AsOrientation, kUnknown, kUnknown), VL_RS_AllOK);  // a station has no scale
  EXPECT_EQ(double{call().dScale}, 1);
  EXPECT_EQ(set(VL_TR_AsTransformation, -1, kUnknown), VL_RS_WrongParameter15);
  // Marks are the same in every unit.
  set_units(VL_LU_Inch, VL_AU_Gon, VL_TU_Celsius);
  const auto input = answer<GetTransformationInputParamsRT>(build_GetTransformationInputParams()).TransformationData;
  EXPECT_EQ(double{input.dTransStdVal1}, kUnknown);
  EXPECT_EQ(double{input.dTransStdVal3}, kApproximate);
  EXPECT_NEAR(input.dTransVal1 * 25.4, 99, 1e-9);
}

TEST_F(Transformations, TakeDeviationsInTheCoordinatesOfThePoints) {
  ask(build_SetCoordinateSystemType(VL_CS_SCC));
  const double quarter = 90;
  // At one metre straight along Y: 0.1 degrees across, 2 mm up and down, 0.3 mm along.
  ask(build_AddTransformationActualPoint(quarter, quarter, 1000, 0.1, 0.2, 0.3, 0, 0, 0));
  const KnownPoint& point = tracker.state().actual_points.at(0);
  const double degree = std::numbers::pi / 180;
  expect_near(point.covariance.diagonal().cwiseSqrt(), {0.1 * degree, 3e-4, 0.2 * degree});
  ask(build_AddTransformationActualPoint(quarter, quarter, 1000, 0.1, 0.2, kUnknown, 0, 0, 0));
  ASSERT_EQ(tracker.state().actual_points.at(1).unknown.size(), 1u);
  EXPECT_NEAR(tracker.state().actual_points[1].unknown[0].y(), 1, 1e-9);
}

TEST_F(Transformations, FailHonestly) {
  const auto refused = [&] { return status(build_CallTransformation()); };
  EXPECT_EQ(refused(), VL_RS_InvalidInputData);
  for (std::size_t i = 0; i < 4; ++i) {
    add_both(kNominal[i]);
    EXPECT_EQ(refused(), i < 2 ? VL_RS_InvalidInputData : VL_RS_AllOK) << i;
  }
  EXPECT_EQ(status(build_GetTransformedPoints()), VL_RS_AllOK);
  add_actual({1, 2, 3});
  EXPECT_EQ(status(build_GetTransformedPoints()), VL_RS_UsageConflict);  // of other lists than these
  EXPECT_EQ(refused(), VL_RS_InvalidInputData);
  ask(build_ClearTransformationActualPointList());
  EXPECT_EQ(refused(), VL_RS_InvalidInputData);
  ask(build_ClearTransformationNominalPointList());
  for (int i = 0; i < 5; ++i) add_both({1.0 * i, 2.0 * i, 3.0 * i});  // on a line
  EXPECT_EQ(refused(), VL_RS_InvalidInputData);
  const auto none = answer<GetTransformedPointsRT>(build_GetTransformedPoints());
  EXPECT_EQ((Codes{none.packetInfo.status, none.iTotalPoints}), (Codes{VL_RS_UsageConflict, 0}));

  EXPECT_EQ(add_nominal({std::nan(""), 0, 0}), VL_RS_WrongParameter1);
  EXPECT_EQ(add_nominal({1, 0, 0}, -1), VL_RS_Parameter4OutOfRangeNOK);
  EXPECT_EQ(status(build_AddTransformationActualPoint(1, 2, 3, 1, 1, 1, 5, 0, 0)), VL_RS_InvalidInputData);
  ask(build_ClearTransformationNominalPointList());
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(add_nominal({1, 2, 3}), VL_RS_AllOK);
  EXPECT_EQ(add_nominal({1, 2, 3}), VL_RS_MaxEntriesExceeded);
}

}  // namespace
}  // namespace kestrine::simulator
