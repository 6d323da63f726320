#include "simulator/tracker/world.h"

#include <array>
#include <cmath>
#include <numbers>

namespace kestrine::simulator {
namespace {

const std::array kNests{
    Nest{"A1", {2.2, -0.4, -0.3}}, Nest{"A2", {2.2, 0.4, -0.3}}, Nest{"A3", {2.8, 0.4, -0.3}},
    Nest{"A4", {2.8, -0.4, -0.3}}, Nest{"B1", {2.2, -0.4, 0.1}}, Nest{"B2", {2.2, 0.4, 0.1}},
    Nest{"B3", {2.8, 0.4, 0.1}},   Nest{"B4", {2.8, -0.4, 0.1}}, Nest{"C1", {2.5, -0.4, -0.1}},
    Nest{"C2", {2.5, 0.4, -0.1}},  Nest{"D1", {2.5, 0.0, 0.15}},
};

constexpr double kTurn = 2 * std::numbers::pi;
constexpr double kDiscInclination = 0.35;  // about the x axis

// The nearest of all targets by a measure of distance, when that stays within the radius.
template <class Measure>
std::optional<Vector> nearest(double radius, const Measure& distance) {
  Vector best = kBirdBath;
  for (const Nest& nest : kNests) {
    if (distance(nest.place) < distance(best)) best = nest.place;
  }
  if (distance(best) > radius) return std::nullopt;
  return best;
}

}  // namespace

std::span<const Nest> nests() {
  return kNests;
}

std::optional<Vector> target_near(const Vector& place, double radius) {
  return nearest(radius, [&](const Vector& target) { return length(target - place); });
}

std::optional<Vector> target_along(double horizontal, double vertical, double radius) {
  const Vector beam = to_vector({horizontal, vertical, 1});
  return nearest(radius, [&](const Vector& target) {
    const double along = beam.dot(target);
    return along > 0 ? length(target - along * beam) : length(target);
  });
}

bool is_in_reach(const Vector& place) {
  return length(place) >= kNearest && length(place) <= kFarthest;
}

Vector path_at(double seconds) {
  const double around = kTurn * seconds / 5;
  return {2 + 0.3 * std::cos(around), 0.3 * std::sin(around), 0.05 * std::sin(kTurn * seconds / 4)};
}

// Around once in 2 s while it goes up and down between 10 and 100 degrees from the zenith.
Vector on_ball_at(double seconds) {
  const double down = kTurn / 360 * (55 + 45 * std::sin(kTurn * seconds / 5));
  return kBallCentre + to_vector({kTurn * seconds / 2, down, kBallRadius});
}

Vector on_disc_at(double seconds) {
  const double around = kTurn * seconds / 4;
  const Vector level{kDiscRadius * std::cos(around), kDiscRadius * std::sin(around), 0};
  return kDiscCentre + rotation({kDiscInclination, 0, 0}) * level;
}

Matrix probe_attitude(const Vector& tip) {
  return rotation({0.5 * tip.y(), 0.7 * tip.z(), std::atan2(tip.y(), tip.x())});
}

bool is_button_held(double seconds) {
  return seconds - std::floor(seconds) < 0.5;
}

}  // namespace kestrine::simulator
