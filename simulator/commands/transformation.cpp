// Sums: display coordinates, error ellipsoids, and the transformation that brings actual points onto nominal ones.
//
// Points come in the coordinate type and units set, and are kept as X, Y, Z. Station and transformation, though
// they may be applied to what is measured, are not taken out again: the fit then says what they are to be.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#include "simulator/commands/commands.h"

namespace kestrine::simulator {
namespace {

constexpr std::size_t kMostPoints = 1000;  // of each list

Frame without_poses(Frame frame) {
  frame.orientation = frame.transformation = Pose{};
  return frame;
}

// As the request gives it: its values, their deviations and covariances in the frame without poses.
KnownPoint point_of(const Request& request) {
  const Frame frame = without_poses(request.frame());
  const Vector values = request.triple("val1");
  Vector deviations = request.triple("std1");
  KnownPoint point{frame.to_place(values)};
  constexpr double kStep = 1e-6;  // of the value, or of its unit
  Matrix slopes =
      jacobian([&](const Vector& near) { return frame.to_place(near); }, values, kStep * values.cwiseAbs().cwiseMax(1));
  for (int i = 0; i < 3; ++i) {
    if (!is_approximate(deviations[i])) continue;
    const double size = length(slopes.col(i));
    if (size > 0) point.unknown.push_back(slopes.col(i) / size);
    slopes.col(i).setZero();
    deviations[i] = 0;
  }
  point.covariance = slopes * symmetric(deviations.cwiseAbs2(), request.triple("covar12")) * slopes.transpose();
  return point;
}

// Whether any deviations and correlations could have made the covariance.
bool is_possible(const KnownPoint& point) {
  if (!std::isfinite(length(point.place) + point.covariance.cwiseAbs().sum())) return false;
  const Vector variances = principal_axes(point.covariance).values;
  constexpr double kRounding = 1e-9;
  return variances.z() >= -kRounding * std::max(variances.x(), 0.0);
}

template <std::vector<KnownPoint> State::*List>
void add_point(Tracker& tracker, const Request& request, const Reply& reply) {
  auto& list = tracker.state().*List;
  if (list.size() >= kMostPoints) return reply.status(VL_RS_MaxEntriesExceeded);
  const KnownPoint point = point_of(request);
  if (!is_possible(point)) return reply.status(VL_RS_InvalidInputData);
  list.push_back(point);
  tracker.state().transformation.reset();
  reply.done();
}

template <std::vector<KnownPoint> State::*List>
void clear_points(Tracker& tracker, const Request&, const Reply& reply) {
  (tracker.state().*List).clear();
  tracker.state().transformation.reset();
  reply.done();
}

Parameters given_parameters(const Settings& settings) {
  const auto data = settings.get<TransformationInputDataT>(VL_C_SetTransformationInputParams);
  Parameters given{{{data.dTransVal1, data.dTransStdVal1},
                    {data.dTransVal2, data.dTransStdVal2},
                    {data.dTransVal3, data.dTransStdVal3},
                    {data.dRotVal1, data.dRotStdVal1},
                    {data.dRotVal2, data.dRotStdVal2},
                    {data.dRotVal3, data.dRotStdVal3},
                    {data.dScale, data.dScaleStd}}};
  // A station has a place and an orientation, but no scale.
  if (data.resultType == VL_TR_AsOrientation) given.back() = {1, 0};
  return given;
}

void call_transformation(Tracker& tracker, const Request&, const Reply& reply) {
  State& state = tracker.state();
  state.transformation =
      fit_transformation(state.nominal_points, state.actual_points, given_parameters(tracker.settings()));
  if (!state.transformation) return reply.status(VL_RS_InvalidInputData);
  const auto& p = state.transformation->parameters;
  reply.record(CallTransformationRT{.dTransVal1 = p[0].value,
                                    .dTransVal2 = p[1].value,
                                    .dTransVal3 = p[2].value,
                                    .dRotVal1 = p[3].value,
                                    .dRotVal2 = p[4].value,
                                    .dRotVal3 = p[5].value,
                                    .dScale = p[6].value,
                                    .dTransStdVal1 = p[0].deviation,
                                    .dTransStdVal2 = p[1].deviation,
                                    .dTransStdVal3 = p[2].deviation,
                                    .dRotStdVal1 = p[3].deviation,
                                    .dRotStdVal2 = p[4].deviation,
                                    .dRotStdVal3 = p[5].deviation,
                                    .dScaleStd = p[6].deviation,
                                    .dRMS = state.transformation->rms,
                                    .dMaxDev = state.transformation->max_deviation,
                                    .dVarianceFactor = state.transformation->variance_factor});
}

// Of the three values; unknown where an unknown direction has any part in them.
Vector deviations_of(const Frame& frame, const KnownPoint& point, const Vector& known) {
  const auto deviations_by = [&](const Matrix& covariance) {
    return frame.uncertainty(point.place, covariance).deviations;
  };
  Vector deviations = known;
  const Vector whole = deviations_by(Matrix::Identity()).cwiseAbs2();
  for (const Vector& each : point.unknown) {
    const Vector part = deviations_by(each * each.transpose()).cwiseAbs2();
    constexpr double kPart = 1e-9;
    for (int i = 0; i < 3; ++i) {
      if (part[i] > kPart * whole[i]) deviations[i] = kUnknown;
    }
  }
  return deviations;
}

GetTransformedPointsRT transformed_point(const Frame& frame, const FittedPoint& fitted) {
  const KnownPoint& point = fitted.actual;
  const Vector values = frame.to_values(point.place);
  Vector residual = values - frame.to_values(point.place - fitted.residual);
  if (frame.type >= VL_CS_CCW)  // the shorter way round
    residual.x() = std::remainder(residual.x(), 2 * std::numbers::pi * angle_factor(frame.angle));
  const Uncertainty spread = frame.uncertainty(point.place, point.covariance);
  const Vector deviations = deviations_of(frame, point, spread.deviations);
  GetTransformedPointsRT item;
  set_values(item, values);
  item.dStd1 = deviations.x();
  item.dStd2 = deviations.y();
  item.dStd3 = deviations.z();
  item.dStdTotal = point.unknown.empty() ? spread.total : kUnknown;
  item.dCovar12 = spread.covariance12;
  item.dCovar13 = spread.covariance13;
  item.dCovar23 = spread.covariance23;
  item.dResidualVal1 = residual.x();
  item.dResidualVal2 = residual.y();
  item.dResidualVal3 = residual.z();
  return item;
}

void get_transformed_points(Tracker& tracker, const Request& request, const Reply& reply) {
  const auto& fit = tracker.state().transformation;
  if (!fit) return reply.status(VL_RS_UsageConflict);
  const Frame frame = without_poses(request.frame());
  std::vector<GetTransformedPointsRT> items;
  for (const FittedPoint& each : fit->points) items.push_back(transformed_point(frame, each));
  reply.series_as_it_stands(items);
}

void convert_display_coordinates(Tracker&, const Request& request, const Reply& reply) {
  Frame base = request.frame();
  base.type = VL_CS_RHR;
  base.orientation = base.transformation = Pose{};
  const bool to_current = request.integer("conversionType") == VL_DCC_BaseToCurrent;
  const Frame& from = to_current ? base : request.frame();
  const Frame& to = to_current ? request.frame() : base;
  const Vector values = to.to_values(from.to_place(request.triple("val1")));
  ConvertDisplayCoordinatesRT answer;
  set_values(answer, values);
  reply.record_as_it_stands(answer);
}

// The covariance is one of the coordinate system and units set; in angles it is not an ellipsoid's.
void get_error_ellipsoid(Tracker&, const Request& request, const Reply& reply) {
  if (request.frame().type >= VL_CS_CCW) return reply.status(VL_RS_UsageConflict);
  const Matrix covariance = symmetric(request.triple("stdDev1").cwiseAbs2(), request.triple("covar12"));
  if (!covariance.allFinite()) return reply.status(VL_RS_InvalidInputData);
  const Axes axes = principal_axes(covariance);
  if (axes.values.z() < 0) return reply.status(VL_RS_InvalidInputData);
  const Vector angles = angle_factor(request.frame().angle) * rotation_angles(axes.directions);
  reply.record_as_it_stands(GetErrorEllipsoidRT{.dStdDevX = std::sqrt(axes.values.x()),
                                                .dStdDevY = std::sqrt(axes.values.y()),
                                                .dStdDevZ = std::sqrt(axes.values.z()),
                                                .dRotationAngleX = angles.x(),
                                                .dRotationAngleY = angles.y(),
                                                .dRotationAngleZ = angles.z()});
}

constexpr Handler kHandlers[]{
    {VL_C_ConvertDisplayCoordinates, Needs::kNothing, convert_display_coordinates},
    {VL_C_GetErrorEllipsoid, Needs::kNothing, get_error_ellipsoid},
    {VL_C_ClearTransformationNominalPointList, Needs::kNothing, clear_points<&State::nominal_points>},
    {VL_C_ClearTransformationActualPointList, Needs::kNothing, clear_points<&State::actual_points>},
    {VL_C_AddTransformationNominalPoint, Needs::kNothing, add_point<&State::nominal_points>},
    {VL_C_AddTransformationActualPoint, Needs::kNothing, add_point<&State::actual_points>},
    {VL_C_CallTransformation, Needs::kNothing, call_transformation},
    {VL_C_GetTransformedPoints, Needs::kNothing, get_transformed_points},
};

}  // namespace

std::span<const Handler> transformation_handlers() {
  return kHandlers;
}

}  // namespace kestrine::simulator
