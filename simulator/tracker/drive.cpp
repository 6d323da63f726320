#include "simulator/tracker/drive.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <utility>

#include "simulator/tracker/world.h"

namespace kestrine::simulator {
namespace {

constexpr double kFullRate = std::numbers::pi / 9;  // of free running: 20 degrees per second
constexpr double kTravelRate = std::numbers::pi;    // to a known place: 180 degrees per second
constexpr double kSettling = 0.1;                   // seconds until a stopped head stands still
// The cables end a turn to either side.
constexpr double kFarthestLeft = 235 * std::numbers::pi / 180;

// Seconds until an angle that grows at a rate leaves its range.
double seconds_left(double angle, double rate, double low, double high) {
  if (rate == 0) return std::numeric_limits<double>::infinity();
  return std::max(0.0, ((rate > 0 ? high : low) - angle) / rate);
}

}  // namespace

Polar Drive::aim() const {
  const double seconds = scheduler_.now() - since_;
  return {std::clamp(aim_.horizontal + horizontal_rate_ * seconds, -kFarthestLeft, kFarthestLeft),
          std::clamp(aim_.vertical + vertical_rate_ * seconds, kHighest, kLowest), aim_.distance};
}

void Drive::point(const Polar& aim) {
  to_range_end_.stop();
  horizontal_rate_ = vertical_rate_ = 0;
  aim_ = aim;
}

void Drive::move(int horizontal_speed, int vertical_speed, RangeEnded range_ended) {
  point(aim());
  since_ = scheduler_.now();
  horizontal_rate_ = kFullRate * horizontal_speed / 100;
  vertical_rate_ = kFullRate * vertical_speed / 100;
  const double horizontal_end = seconds_left(aim_.horizontal, horizontal_rate_, -kFarthestLeft, kFarthestLeft);
  const double vertical_end = seconds_left(aim_.vertical, vertical_rate_, kHighest, kLowest);
  const double end = std::min(horizontal_end, vertical_end);
  if (std::isinf(end)) return;
  const bool is_vertical = vertical_end <= horizontal_end;
  to_range_end_.start(end, [=, this, range_ended = std::move(range_ended)] {
    const auto report = range_ended;
    // Without the tracker's time taken, which a time scale of 0 never is, the axes arrive by arithmetic.
    aim_.horizontal += horizontal_rate_ * end;
    aim_.vertical += vertical_rate_ * end;
    (is_vertical ? vertical_rate_ : horizontal_rate_) = 0;
    since_ = scheduler_.now();
    const auto left = [](double rate) { return static_cast<int>(std::lround(rate / kFullRate * 100)); };
    move(left(horizontal_rate_), left(vertical_rate_), report);
    report(is_vertical ? kVerticalRangeEnds : kHorizontalRangeEnds);
  });
}

double Drive::travel_time(const Polar& aim_there) const {
  const Polar here = aim();
  const double farther =
      std::max(std::abs(wrapped(aim_there.horizontal - here.horizontal)), std::abs(aim_there.vertical - here.vertical));
  return farther / kTravelRate + kSettling;
}

}  // namespace kestrine::simulator
