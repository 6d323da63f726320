#include "cli/chart.h"

#include <algorithm>

#include "cli/chart_facts.h"
#include "cli/chart_style.h"
#include "cli/figure.h"
#include "cli/format.h"
#include "cli/panel.h"
#include "cli/svg.h"

namespace kestrine::cli {
namespace {

constexpr double kWidth = 960;
constexpr double kHeight = 880;
constexpr Box kTopView{96, 104, 500, 440};
constexpr Box kFacts{640, 104, 284, 440};
constexpr Box kDeviation{96, 632, 828, 180};
constexpr double kHeadingGap = 12;
constexpr std::size_t kMostNamedPoints = 20;
constexpr std::size_t kMostSeparateDots = 120;
constexpr double kLeastFineSpan = 1;  // a single point has no extent of its own
constexpr const char* kColours[] = {"first", "second", "third"};

std::string coloured(const char* shape, std::size_t series) {
  return std::string(shape) + " " + kColours[series];
}

std::string in_brackets(std::string_view unit) {
  return " [" + std::string(unit) + "]";
}

// A coordinate as the top view shows it.
double shown(const Figure& figure, double value, std::size_t axis) {
  return figure.around_mean ? figure.measurement.unit->to_fine(value - figure.summary.mean[axis]) : value;
}

std::string axis_name(const Figure& figure, std::size_t axis) {
  const std::string name = axis == 0 ? "X" : "Y";
  const auto& unit = *figure.measurement.unit;
  if (!figure.around_mean) return name + in_brackets(unit.name);
  const std::string mean = with_minus(unit.position_text(figure.summary.mean[axis]));
  return name + " relative to " + mean + in_brackets(unit.fine_name);
}

Range shown_range(const Figure& figure, std::size_t axis) {
  const double low = shown(figure, figure.summary.low[axis], axis);
  const double high = shown(figure, figure.summary.high[axis], axis);
  return range_of({low, high}, figure.around_mean ? kLeastFineSpan : 0).widened(0.08);
}

void draw_cloud(Svg& svg, const std::vector<Spot>& spots) {
  if (spots.size() > kMostSeparateDots) {
    svg.dots(thinned_cloud(spots), 1.5, coloured("dot", 0));
  } else {
    for (const auto& spot : spots) svg.circle(spot, 3.5, coloured("dot", 0));
  }
  if (spots.size() > kMostNamedPoints) return;
  for (std::size_t i = 0; i < spots.size(); ++i) {
    svg.text({spots[i].x + 6, spots[i].y - 5}, "mark-name", std::to_string(i + 1));
  }
}

void draw_top_view(Svg& svg, const Figure& figure) {
  const Panel panel = Panel::equal_scale(kTopView, shown_range(figure, 0), shown_range(figure, 1));
  const auto spot_of = [&](double x, double y) { return panel.at(shown(figure, x, 0), shown(figure, y, 1)); };
  svg.text({kTopView.x, kTopView.y - kHeadingGap}, "heading", "Top view");
  panel.draw_frame(svg, axis_name(figure, 0), axis_name(figure, 1));
  svg.begin_clip(kTopView);
  std::vector<Spot> spots;
  spots.reserve(figure.measurement.points.size());
  for (const auto& point : figure.measurement.points) spots.push_back(spot_of(point.position[0], point.position[1]));
  if (figure.is_path()) {
    svg.polyline(thinned_path(spots), coloured("line", 0));
    svg.circle(spots.front(), 5, "start");
  } else {
    draw_cloud(svg, spots);
  }
  if (const auto& circle = figure.circle) {
    svg.circle(spot_of(circle->x, circle->y), circle->radius * panel.pixels_per_unit(), "fit");
  } else {
    svg.cross(spot_of(figure.summary.mean[0], figure.summary.mean[1]), 9, "mean");
  }
  svg.end_clip();
}

void draw_series_names(Svg& svg, const std::vector<Series>& series) {
  double right = kDeviation.x + kDeviation.width;
  const double y = kDeviation.y - kHeadingGap;
  for (std::size_t i = series.size(); i-- > 0;) {
    svg.text({right, y}, "key right", series[i].name);
    // Letters are some 7 pixels wide; a sample a little too far from its name does no harm.
    right -= 7.0 * static_cast<double>(series[i].name.size()) + 6;
    svg.line({right - 24, y - 4}, {right, y - 4}, coloured("line", i));
    right -= 46;
  }
}

void draw_series(Svg& svg, const std::vector<Spot>& spots, std::size_t index) {
  const bool dense = spots.size() > kMostSeparateDots;
  svg.polyline(thinned_curve(spots), coloured(dense ? "line thin" : "line", index));
  if (dense) return;
  for (const auto& spot : spots) svg.circle(spot, 2.8, coloured("dot", index));
}

void draw_deviations(Svg& svg, const Figure& figure) {
  const auto& points = figure.measurement.points;
  const bool stream = figure.measurement.kind == Kind::kStream;
  const auto x_of = [&](std::size_t i) { return stream ? points[i].seconds : static_cast<double>(i + 1); };
  const Deviations deviations = deviations_of(figure);
  std::vector<double> all{0};
  for (const auto& series : deviations.series) all.insert(all.end(), series.values.begin(), series.values.end());
  const Range x = range_of({x_of(0), x_of(points.size() - 1)}, stream ? 0.001 : 1).widened(stream ? 0 : 0.03);
  const Panel panel(kDeviation, x, range_of(all, kLeastFineSpan).widened(0.1), stream ? 0 : 1);

  svg.text({kDeviation.x, kDeviation.y - kHeadingGap}, "heading", "Deviation from " + deviations.from);
  draw_series_names(svg, deviations.series);
  panel.draw_frame(svg, stream ? "time [s]" : "point number", "deviation" + in_brackets(deviations.unit));
  svg.begin_clip(kDeviation);
  panel.draw_zero_line(svg);
  for (std::size_t i = 0; i < deviations.series.size(); ++i) {
    std::vector<Spot> spots;
    spots.reserve(points.size());
    for (std::size_t k = 0; k < points.size(); ++k) spots.push_back(panel.at(x_of(k), deviations.series[i].values[k]));
    draw_series(svg, spots, i);
  }
  svg.end_clip();
}

std::string subtitle_of(const Figure& figure) {
  const std::string count = std::to_string(figure.summary.count);
  const std::string plural = figure.summary.count == 1 ? "" : "s";
  if (figure.measurement.kind == Kind::kStationary) return count + " stationary point" + plural;
  return count + " point" + plural + " streamed in " + fixed(figure.summary.seconds, 1) + " s";
}

}  // namespace

std::string draw_chart(const Measurement& measurement) {
  const Figure figure = figure_of(measurement);
  const auto& tracker = measurement.tracker;
  const std::string title = tracker.name + ", serial number " + std::to_string(tracker.serial_number);
  const std::string subtitle = subtitle_of(figure);
  Svg svg(kWidth, kHeight, title + ": " + subtitle, kChartStyle);
  svg.rectangle({0, 0, kWidth, kHeight}, "paper");
  svg.text({kTopView.x, 42}, "title", title);
  svg.text({kTopView.x, 64}, "subtitle", subtitle);
  draw_top_view(svg, figure);
  draw_facts(svg, kFacts, figure);
  draw_deviations(svg, figure);
  return svg.finish();
}

}  // namespace kestrine::cli
