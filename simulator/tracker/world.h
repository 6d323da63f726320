// What stands around the tracker: the home position, a part with nests that each hold a reflector, and the path on
// which a reflector is led while a continuous measurement runs. All in the tracker's own system, in metres.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "simulator/mathematics/geometry.h"

namespace kestrine::simulator {

struct Nest {
  std::string_view name;
  Vector place;
};

// A block of 800 x 600 x 400 mm, 2.5 m in front of the tracker: its corners, its centre line's ends and a nest on
// top. Between any two of them lie at least 180 mm.
std::span<const Nest> nests();

// The reflector's rest on the tracker itself.
inline const Vector kBirdBath{0.26, 0, -0.09};

// The nest or the bird bath nearest to a place, when it lies within the radius.
std::optional<Vector> target_near(const Vector& place, double radius);
// The same for a beam, whose distance to a target counts square to it.
std::optional<Vector> target_along(double horizontal, double vertical, double radius);

// A level circle of 300 mm radius around a point 2 m ahead, once around in 5 s, with a vertical wave of 50 mm and
// 4 s on it.
Vector path_at(double seconds);

// An arm on a ball joint: a reflector at its end is swung over three quarters of a sphere.
inline const Vector kBallCentre{1.9, 0.35, 0.05};
inline constexpr double kBallRadius = 0.25;
Vector on_ball_at(double seconds);

// A turntable on an inclined bench: a reflector at its rim goes around once in 4 s.
inline const Vector kDiscCentre{2.3, -0.35, 0.1};
inline constexpr double kDiscRadius = 0.2;
Vector on_disc_at(double seconds);

// How the probe is held with its tip at a place: its x axis along the beam as seen from above, bent to the side and
// up or down the farther away from straight ahead. The columns are its axes.
Matrix probe_attitude(const Vector& tip);
// The operator presses the probe's button for the first half of every second.
bool is_button_held(double seconds);

// A clock of ten pulses a second is wired to the trigger inputs, each high for its first half.
inline constexpr double kPulseInterval = 0.1;  // seconds

// The reach of the tracker.
inline constexpr double kNearest = 0.1;
inline constexpr double kFarthest = 60;
bool is_in_reach(const Vector& place);
inline constexpr double kFarthestProbe = 15;  // of the camera
// The vertical angle at which the head stops, upwards and downwards, from the zenith.
inline constexpr double kHighest = 0.785398163397448;  // 45 degrees above the horizon
inline constexpr double kLowest = 2.356194490192345;

}  // namespace kestrine::simulator
