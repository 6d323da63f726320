// What a picture of a measurement has to show, worked out before anything is drawn.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/points/measurement.h"
#include "cli/points/statistics.h"

namespace kestrine::cli {

struct Figure {
  const Measurement& measurement;
  Summary summary;
  std::optional<Circle> circle;  // that a streamed target went around
  // A figure under a millimetre is drawn around its mean, in the fine unit: its coordinates share all leading digits.
  bool around_mean = false;

  // A target on the move: drawn as the path it took rather than as a cloud.
  bool is_path() const { return measurement.kind == Kind::kStream && !around_mean; }
};

// Needs at least one point.
Figure figure_of(const Measurement& measurement);

// One curve over time.
struct Series {
  std::string name;
  std::vector<double> values;
};

// Series of one unit, to be drawn together over the points' time. A series that is shorter lacks the first points.
struct Curves {
  std::string heading;
  std::string quantity;  // on the axis, before its unit
  std::string unit;
  bool from_zero = true;  // whether 0 is to be seen
  std::vector<Series> series;
};

// How far off each point is, in the unit that suits the figures: from the circle where there is one, from the mean of
// all points otherwise.
Curves deviations_of(const Figure& figure);
// How far it is from each point to the next, and how the probe was held.
Curves steps_of(const Figure& figure);
Curves angles_of(const Figure& figure);

}  // namespace kestrine::cli
