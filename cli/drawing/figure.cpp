#include "cli/drawing/figure.h"

#include <algorithm>
#include <cmath>

namespace kestrine::cli {
namespace {

constexpr double kLeastAbsoluteMetres = 1e-3;

template <class Thing>
Series series_of(std::string name, const std::vector<Thing>& things, const auto& value) {
  Series series{std::move(name), {}};
  series.values.reserve(things.size());
  for (const auto& thing : things) series.values.push_back(value(thing));
  return series;
}

}  // namespace

Figure figure_of(const Measurement& measurement) {
  Figure figure{measurement, measurement.totals.summary(), std::nullopt};
  if (measurement.kind == Kind::kStream) figure.circle = fit_circle(measurement.sample.points);
  const auto& summary = figure.summary;
  const double extent = std::max(summary.high[0] - summary.low[0], summary.high[1] - summary.low[1]);
  figure.around_mean = extent * measurement.unit->metres < kLeastAbsoluteMetres && !figure.circle;
  return figure;
}

Curves deviations_of(const Figure& figure) {
  const auto& points = figure.measurement.sample.points;
  const auto& unit = *figure.measurement.unit;
  Curves curves;
  curves.quantity = "deviation";
  if (figure.circle) {
    curves.heading = "Deviation from the fitted circle";
    curves.series.push_back(
        series_of("radial", points, [&](const Point& p) { return figure.circle->radial_deviation(p); }));
  } else {
    curves.heading = "Deviation from the mean";
    for (std::size_t i = 0; i < 3; ++i) {
      curves.series.push_back(
          series_of(kAxisNames[i], points, [&](const Point& p) { return p.position[i] - figure.summary.mean[i]; }));
    }
  }
  double most = 0;
  for (const auto& series : curves.series) {
    for (const double value : series.values) most = std::max(most, std::abs(value));
  }
  const bool fine = unit.is_fine(most);
  curves.unit = fine ? unit.fine_name : unit.name;
  for (auto& series : curves.series) {
    for (double& value : series.values) value = fine ? unit.to_fine(value) : value;
  }
  return curves;
}

Curves steps_of(const Figure& figure) {
  const auto& steps = figure.measurement.sample.steps;
  return {"Distance from the point before",
          "distance",
          std::string(figure.measurement.unit->name),
          true,
          {{"in space", {steps.begin() + 1, steps.end()}}}};
}

Curves angles_of(const Figure& figure) {
  Curves curves{"Rotation angles of the probe", "angle", "°", false, {}};
  for (std::size_t i = 0; i < 3; ++i) {
    curves.series.push_back(
        series_of(kAxisNames[i], figure.measurement.sample.attitudes, [i](const Attitude& a) { return a.angles[i]; }));
  }
  return curves;
}

}  // namespace kestrine::cli
