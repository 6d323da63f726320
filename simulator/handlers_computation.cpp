// Sums: display coordinates, error ellipsoids, the check of the bird bath.
#include <algorithm>
#include <array>
#include <cmath>

#include "simulator/handlers.h"
#include "simulator/tracker.h"

namespace kestrine::simulator {
namespace {

constexpr double kBirdBathCheck = 1;

void convert_display_coordinates(Tracker&, const Request& request, const Reply& reply) {
  Frame base = request.frame();
  base.type = VL_CS_RHR;
  base.orientation = base.transformation = Pose{};
  const bool to_current = request.integer("conversionType") == VL_DCC_BaseToCurrent;
  const Frame& from = to_current ? base : request.frame();
  const Frame& to = to_current ? request.frame() : base;
  const Vector values = to.to_outside(from.to_inside(request.triple("val1")));
  ConvertDisplayCoordinatesRT answer;
  answer.dVal1 = values.x;
  answer.dVal2 = values.y;
  answer.dVal3 = values.z;
  reply.record_as_it_stands(answer);
}

// The covariance comes told in the set coordinate system and units; in angles it is not an ellipsoid's.
void get_error_ellipsoid(Tracker&, const Request& request, const Reply& reply) {
  if (request.frame().type >= VL_CS_CCW) return reply.status(VL_RS_UsageConflict);
  const Vector deviations = request.triple("stdDev1");
  const Vector covariances = request.triple("covar12");
  const Matrix told{{{deviations.x * deviations.x, covariances.x, covariances.y},
                     {covariances.x, deviations.y * deviations.y, covariances.z},
                     {covariances.y, covariances.z, deviations.z * deviations.z}}};
  const auto is_finite = [](const auto& row) { return std::isfinite(row[0] + row[1] + row[2]); };
  if (!std::all_of(told.begin(), told.end(), is_finite)) return reply.status(VL_RS_InvalidInputData);
  const Axes axes = principal_axes(told);
  if (axes.values.z < 0) return reply.status(VL_RS_InvalidInputData);
  const Vector angles = angle_factor(request.frame().angle) * rotation_angles(axes.directions);
  GetErrorEllipsoidRT answer;
  answer.dStdDevX = std::sqrt(axes.values.x);
  answer.dStdDevY = std::sqrt(axes.values.y);
  answer.dStdDevZ = std::sqrt(axes.values.z);
  answer.dRotationAngleX = angles.x;
  answer.dRotationAngleY = angles.y;
  answer.dRotationAngleZ = angles.z;
  reply.record_as_it_stands(answer);
}

// A fresh look at the reflector at rest, against where it was at the start.
void check_bird_bath(Tracker& tracker, const Request&, const Reply& reply) {
  tracker.act(kBirdBathCheck, [&tracker, reply] {
    tracker.lock_on(bird_bath());
    const Polar initial = to_polar(bird_bath());
    const Polar now = to_polar(Noise::displaced(bird_bath(), tracker.noise().deviation(initial.distance)));
    CheckBirdBathRT answer;
    answer.dInitialHzAngle = initial.horizontal;
    answer.dInitialVtAngle = initial.vertical;
    answer.dInitialDistance = initial.distance;
    answer.dHzAngleDiff = wrapped(now.horizontal - initial.horizontal);
    answer.dVtAngleDiff = now.vertical - initial.vertical;
    answer.dDistanceDiff = now.distance - initial.distance;
    reply.record(answer);
  });
}

constexpr std::array kHandlers{
    Handler{VL_C_ConvertDisplayCoordinates, Needs::kNothing, convert_display_coordinates},
    Handler{VL_C_GetErrorEllipsoid, Needs::kNothing, get_error_ellipsoid},
    Handler{VL_C_CheckBirdBath, Needs::kReady, check_bird_bath},
};

}  // namespace

std::span<const Handler> computation_handlers() {
  return kHandlers;
}

}  // namespace kestrine::simulator
