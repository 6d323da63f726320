// The motors: where the head points, and its free running at a set speed until it is stopped or its range ends.
#pragma once

#include <functional>

#include "kestrine/enums.h"
#include "simulator/mathematics/geometry.h"
#include "simulator/tracker/scheduler.h"

namespace kestrine::simulator {

// Said by the tracker itself, among the numbers from 100 to 999 that the server only passes on.
inline constexpr auto kHorizontalRangeEnds = static_cast<VL_ResultStatus>(703);
inline constexpr auto kVerticalRangeEnds = static_cast<VL_ResultStatus>(704);

class Drive {
 public:
  using RangeEnded = std::function<void(VL_ResultStatus)>;

  Drive(Scheduler& scheduler, const Polar& aim) : scheduler_(scheduler), aim_(aim), to_range_end_(scheduler) {}

  // The distance is the last one that a target had.
  Polar aim() const;
  void point(const Polar& aim);
  // In percent of full speed, positive as the angles grow. The axis that reaches the end of its range stops.
  void move(int horizontal_speed, int vertical_speed, RangeEnded range_ended);
  // Seconds from here to there, with both axes turning at once.
  double travel_time(const Polar& aim) const;

 private:
  Scheduler& scheduler_;
  Polar aim_;
  double since_ = 0;
  double horizontal_rate_ = 0;  // radians per second
  double vertical_rate_ = 0;
  Timer to_range_end_;
};

}  // namespace kestrine::simulator
