// What was measured, as every output of the tool sees it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "cli/common/units.h"
#include "cli/points/point.h"
#include "cli/points/statistics.h"

namespace kestrine::cli {

enum class Kind {
  kStationary,
  kStream,
  kCentre  // of a sphere or a circle: a single point
};

struct Tracker {
  std::string name;
  std::int32_t serial_number = 0;
  std::string software;  // of the server
  double min_distance = 0;
  double max_distance = 0;
  std::int32_t max_rate = 0;  // points per second
};

// Points of which there may be more than there is memory: every one until there are too many, then every second one,
// then every fourth.
struct Sample {
  static constexpr std::size_t kMost = 50'000;

  std::vector<Point> points;
  std::vector<Attitude> attitudes;  // as many as points with the probe, none otherwise
  std::vector<double> steps;        // to each point from the one measured before it; the first has none: 0
  std::size_t stride = 1;           // each how manyth point of the measurement is here

  void add(std::size_t index, const Point& point, const Attitude* attitude, double step);
};

struct Measurement {
  Kind kind = Kind::kStationary;
  bool extended = false;   // with covariances, and in a stream with a priori deviations
  bool spaced = false;     // a stream whose points were taken by the way the target went, not by the clock
  bool attitudes = false;  // a stream with the probe
  std::string manner;      // how a stream or a centre was measured, for a subtitle
  Tracker tracker;
  const LengthUnit* unit = nullptr;

  Totals totals;  // of all points
  Sample sample;  // of them, to draw
  Point last;

  void add(const Point& point, const Attitude* attitude = nullptr);
  std::size_t count() const { return totals.count(); }
  // "1 of 4 points", when the sample has not all of them.
  std::string thinned_text() const;
};

}  // namespace kestrine::cli
