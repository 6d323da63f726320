// Starting up, moving the head and finding reflectors.
#include <array>
#include <cmath>
#include <numbers>

#include "simulator/commands/commands.h"
#include "simulator/tracker/world.h"

namespace kestrine::simulator {
namespace {

// Seconds. A real tracker takes half a minute and more to initialise; nobody learns anything from that wait.
constexpr double kInitialising = 0.5;
constexpr double kSearching = 0.3;
constexpr double kTurningOver = 0.8;

// Moves the beam to where a target should be and searches there.
void go_to(Tracker& tracker, const Vector& place, const Reply& reply) {
  if (!is_in_reach(place)) return reply.status(out_of_range(3));
  const double seconds = tracker.drive().travel_time(to_polar(place)) + kSearching;
  tracker.state().target.reset();
  tracker.act(seconds, [&tracker, place, reply] {
    if (!tracker.find_target(place, tracker.search_radius())) return reply.status(VL_RS_NoDistanceSet);
    reply.done();
    tracker.announce(VL_SSC_DistanceSet);
  });
}

// Moves without a search: the beam may come to lie on a target or not.
void point_to(Tracker& tracker, const Polar& aim, const Reply& reply) {
  if (aim.vertical < kHighest || aim.vertical > kLowest) return reply.status(kVerticalRangeEnds);
  tracker.state().target.reset();
  tracker.act(tracker.drive().travel_time(aim), [&tracker, aim, reply] {
    tracker.drive().point(aim);
    reply.done();
  });
}

void initialize(Tracker& tracker, const Request&, const Reply& reply) {
  if (tracker.readiness() == VL_TS_Busy) return reply.status(VL_RS_ServerBusy);
  tracker.act(kInitialising, [&tracker, reply] {
    tracker.switch_laser(true);
    tracker.set_face(VL_TF_Face1);
    tracker.lock_on(kBirdBath);
    tracker.set_initialised();
    reply.done();
  });
}

void release_motors(Tracker& tracker, const Request&, const Reply& reply) {
  tracker.drive().point(tracker.drive().aim());
  reply.done();
}

// The camera is built in and looks along the beam wherever that points, so a picture needs no view activated before:
// what this does is let the reflector go.
void activate_camera_view(Tracker& tracker, const Request&, const Reply& reply) {
  tracker.state().target.reset();
  tracker.act(kSearching, [reply] { reply.done(); });
}

void park(Tracker& tracker, const Request&, const Reply& reply) {
  point_to(tracker, {std::numbers::pi, std::numbers::pi / 2, 1}, reply);
}

void switch_laser(Tracker& tracker, const Request& request, const Reply& reply) {
  reply.done();
  tracker.switch_laser(request.integer("isOn") != 0);
}

// The head turns over and looks at the same place from the other side.
void change_face(Tracker& tracker, const Request&, const Reply& reply) {
  tracker.act(kTurningOver, [&tracker, reply] {
    reply.done();
    tracker.set_face(tracker.state().face == VL_TF_Face1 ? VL_TF_Face2 : VL_TF_Face1);
  });
}

void go_bird_bath(Tracker& tracker, const Request&, const Reply& reply) {
  go_to(tracker, kBirdBath, reply);
}

void go_position(Tracker& tracker, const Request& request, const Reply& reply) {
  go_to(tracker, request.position("val1"), reply);
}

Vector place_by_angles(const Request& request) {
  return to_vector({request.angle("hzAngle"), request.angle("vtAngle"), request.distance("distance")});
}

void go_position_by_angles(Tracker& tracker, const Request& request, const Reply& reply) {
  go_to(tracker, place_by_angles(request), reply);
}

void position_relative(Tracker& tracker, const Request& request, const Reply& reply) {
  Polar aim = tracker.drive().aim();
  aim.horizontal = wrapped(aim.horizontal + request.angle("hzAngle"));
  aim.vertical += request.angle("vtAngle");
  point_to(tracker, aim, reply);
}

void point_laser(Tracker& tracker, const Request& request, const Reply& reply) {
  point_to(tracker, to_polar(request.position("val1")), reply);
}

void point_laser_by_angles(Tracker& tracker, const Request& request, const Reply& reply) {
  point_to(tracker, to_polar(place_by_angles(request)), reply);
}

void move(Tracker& tracker, const Request& request, const Reply& reply) {
  tracker.state().target.reset();
  // The end of the range comes up by itself, long after the answer: it is an error of no command.
  const auto report = [mover = std::weak_ptr(reply.client())](VL_ResultStatus status) {
    if (const auto client = mover.lock()) client->send(error_packet(VL_C_Unknown, status));
  };
  tracker.drive().move(request.integer("horizontalSpeed"), request.integer("verticalSpeed"), report);
  reply.done();
}

// The four positions lie a quarter turn apart.
void go_tiltra_position(Tracker& tracker, const Request& request, const Reply& reply) {
  const double quarter = std::numbers::pi / 2;
  point_to(tracker, {wrapped(quarter * request.integer("tiltraPosition")), quarter, 1}, reply);
}

void go_last_measured_point(Tracker& tracker, const Request&, const Reply& reply) {
  if (!tracker.state().last_measured) return reply.status(VL_RS_NoLastMeasuredPoint);
  go_to(tracker, *tracker.state().last_measured, reply);
}

// Searches along the beam; the distance says how wide the radius looks from here.
void find_reflector(Tracker& tracker, const Request&, const Reply& reply) {
  tracker.act(kSearching, [&tracker, reply] {
    const Polar aim = tracker.drive().aim();
    const auto target = target_along(aim.horizontal, aim.vertical, tracker.search_radius());
    if (!target || !tracker.state().laser_on) return reply.status(VL_RS_NoDistanceSet);
    tracker.lock_on(*target);
    reply.done();
    tracker.announce(VL_SSC_DistanceSet);
  });
}

// Answers where a target is without locking on it.
void look_for_target(Tracker& tracker, const Request& request, const Reply& reply) {
  const Vector place = request.position("val1");
  if (!is_in_reach(place)) return reply.status(out_of_range(3));
  const double radius = request.distance("searchRadius");
  tracker.act(tracker.drive().travel_time(to_polar(place)) + kSearching, [&tracker, place, radius, reply] {
    tracker.state().target.reset();
    tracker.drive().point(to_polar(place));
    const auto target = target_near(place, radius);
    if (!target) return reply.status(VL_RS_NoDistanceSet);
    reply.record(LookForTargetRT{.dHzAngle = to_polar(*target).horizontal, .dVtAngle = to_polar(*target).vertical});
  });
}

void get_direction(Tracker& tracker, const Request&, const Reply& reply) {
  const Polar aim = tracker.drive().aim();
  reply.record(GetDirectionRT{.dHzAngle = wrapped(aim.horizontal), .dVtAngle = aim.vertical});
}

void get_face(Tracker& tracker, const Request&, const Reply& reply) {
  reply.record(GetFaceRT{.trackerFace = tracker.state().face});
}

void get_current_prism_position(Tracker& tracker, const Request&, const Reply& reply) {
  const auto target = tracker.state().target;
  if (!target) return reply.status(VL_RS_NoDistanceSet);
  GetCurrentPrismPositionRT answer;
  set_values(answer, *target);
  reply.record(answer);
}

// The service behind the server starts it again at once, so a closed connection can be opened anew.
void close_down(Tracker& tracker, const Request&, const Reply& reply) {
  reply.done();
  tracker.restart();
}

// The tracker goes first, and the server without it.
void power_down(Tracker& tracker, const Request& request, const Reply& reply) {
  tracker.announce(VL_SSC_TPConnectionClosing);
  close_down(tracker, request, reply);
}

constexpr Handler kHandlers[]{
    {VL_C_ExitApplication, Needs::kNothing, close_down},
    {VL_C_Initialize, Needs::kNothing, initialize},
    {VL_C_ReleaseMotors, Needs::kReady, release_motors},
    {VL_C_ActivateCameraView, Needs::kReady, activate_camera_view},
    {VL_C_Park, Needs::kReady, park},
    {VL_C_SwitchLaser, Needs::kNothing, switch_laser},
    {VL_C_ChangeFace, Needs::kReady, change_face},
    {VL_C_GoBirdBath, Needs::kReady, go_bird_bath},
    {VL_C_GoBirdBath2, Needs::kReady, go_bird_bath},
    {VL_C_GoPosition, Needs::kReady, go_position},
    {VL_C_GoPositionHVD, Needs::kReady, go_position_by_angles},
    {VL_C_PositionRelativeHV, Needs::kReady, position_relative},
    {VL_C_PointLaser, Needs::kReady, point_laser},
    {VL_C_PointLaserHVD, Needs::kReady, point_laser_by_angles},
    {VL_C_MoveHV, Needs::kReady, move},
    {VL_C_GoTiltraPosition, Needs::kReady, go_tiltra_position},
    {VL_C_GoLastMeasuredPoint, Needs::kReady, go_last_measured_point},
    {VL_C_FindReflector, Needs::kReady, find_reflector},
    {VL_C_LookForTarget, Needs::kReady, look_for_target},
    {VL_C_GetDirection, Needs::kInitialised, get_direction},
    {VL_C_GetFace, Needs::kInitialised, get_face},
    {VL_C_GetCurrentPrismPosition, Needs::kInitialised, get_current_prism_position},
    {VL_C_SystemPowerDown, Needs::kNothing, power_down},
};

}  // namespace

std::span<const Handler> motion_handlers() {
  return kHandlers;
}

}  // namespace kestrine::simulator
