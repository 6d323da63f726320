#include "cli/figure.h"

#include <algorithm>
#include <cmath>

namespace kestrine::cli {
namespace {

constexpr double kLeastAbsoluteMetres = 1e-3;

Series series_of(std::string name, const std::vector<Point>& points, const auto& value) {
  Series series{std::move(name), {}};
  series.values.reserve(points.size());
  for (const auto& point : points) series.values.push_back(value(point));
  return series;
}

}  // namespace

Figure figure_of(const Measurement& measurement) {
  Figure figure{measurement, summarise(measurement.points), std::nullopt};
  if (measurement.kind == Kind::kStream) figure.circle = fit_circle(measurement.points);
  const auto& summary = figure.summary;
  const double extent = std::max(summary.high[0] - summary.low[0], summary.high[1] - summary.low[1]);
  figure.around_mean = extent * measurement.unit->metres < kLeastAbsoluteMetres && !figure.circle;
  return figure;
}

Deviations deviations_of(const Figure& figure) {
  const auto& points = figure.measurement.points;
  const auto& unit = *figure.measurement.unit;
  Deviations deviations;
  if (figure.circle) {
    deviations.from = "the fitted circle";
    deviations.series.push_back(
        series_of("radial", points, [&](const Point& p) { return figure.circle->radial_deviation(p); }));
  } else {
    deviations.from = "the mean";
    const char* const names[] = {"X", "Y", "Z"};
    for (std::size_t i = 0; i < 3; ++i) {
      deviations.series.push_back(
          series_of(names[i], points, [&](const Point& p) { return p.position[i] - figure.summary.mean[i]; }));
    }
  }
  double most = 0;
  for (const auto& series : deviations.series) {
    for (const double value : series.values) most = std::max(most, std::abs(value));
  }
  const bool fine = unit.is_fine(most);
  deviations.unit = fine ? unit.fine_name : unit.name;
  for (auto& series : deviations.series) {
    for (double& value : series.values) value = fine ? unit.to_fine(value) : value;
  }
  return deviations;
}

}  // namespace kestrine::cli
