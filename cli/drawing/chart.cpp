#include "cli/drawing/chart.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "cli/common/format.h"
#include "cli/drawing/facts.h"
#include "cli/drawing/figure.h"
#include "cli/drawing/panel.h"
#include "cli/drawing/style.h"
#include "cli/drawing/svg.h"

namespace kestrine::cli {
namespace {

constexpr double kWidth = 960;
constexpr Box kTopView{96, 104, 500, 440};
constexpr Box kFacts{640, 104, 284, 440};
constexpr Box kFirstCurves{96, 632, 828, 180};
constexpr double kCurvesPitch = 268;  // from panel to panel
constexpr double kBareHeight = 612;   // without curves
constexpr double kHeadingGap = 12;
constexpr std::size_t kMostNamedPoints = 20;
constexpr std::size_t kMostSeparateDots = 120;
constexpr double kLeastFineSpan = 1;  // a single point has no extent of its own
constexpr int kEllipseCorners = 90;
constexpr int kMostSigmas = 3;
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
  const std::string name = kAxisNames[axis];
  const auto& unit = *figure.measurement.unit;
  if (!figure.around_mean) return name + in_brackets(unit.name);
  const std::string mean = with_minus(unit.position_text(figure.summary.mean[axis]));
  return name + " relative to " + mean + in_brackets(unit.fine_name);
}

Range shown_range(const Figure& figure, std::size_t axis) {
  if (figure.measurement.kind == Kind::kCentre) {
    const double reach =
        kMostSigmas * figure.measurement.unit->to_fine(figure.measurement.sample.points[0].deviation[axis]);
    return range_of({-reach, reach}, kLeastFineSpan).widened(0.1);
  }
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

// The ellipses of one, two and three standard deviations around the single point, from its covariance.
void draw_sigmas(Svg& svg, const Figure& figure, const Panel& panel) {
  const Point& point = figure.measurement.sample.points.front();
  const auto& unit = *figure.measurement.unit;
  const double x = unit.to_fine(point.deviation[0]);
  const double y = unit.to_fine(point.deviation[1]);
  const double shear = point.deviation[0] > 0 ? unit.to_fine(point.covariance[0] / point.deviation[0]) : 0;
  const double rest = std::sqrt(std::max(0.0, y * y - shear * shear));
  for (int sigmas = 1; sigmas <= kMostSigmas; ++sigmas) {
    std::vector<Spot> ellipse;
    for (int i = 0; i <= kEllipseCorners; ++i) {
      const double angle = 2 * std::numbers::pi * i / kEllipseCorners;
      const double along = sigmas * std::cos(angle);
      ellipse.push_back(panel.at(x * along, shear * along + rest * sigmas * std::sin(angle)));
    }
    svg.polyline(ellipse, sigmas == 1 ? coloured("line", 0) : "fit");
    const auto top = std::min_element(ellipse.begin(), ellipse.end(), [](Spot a, Spot b) { return a.y < b.y; });
    svg.text({top->x + 3, top->y - 4}, "mark-name", std::to_string(sigmas) + "σ");
  }
  svg.circle(panel.at(0, 0), 3.5, coloured("dot", 0));
}

// Single points are marked where the way of the target, not the clock, decided when they were taken.
void draw_path(Svg& svg, const Figure& figure, const std::vector<Spot>& spots) {
  svg.polyline(thinned_path(spots), coloured(figure.measurement.spaced ? "line thin" : "line", 0));
  if (figure.measurement.spaced) svg.dots(thinned_cloud(spots), 4, coloured("dot", 0));
  svg.circle(spots.front(), 5, "start");
}

void draw_top_view(Svg& svg, const Figure& figure) {
  const Panel panel = Panel::equal_scale(kTopView, shown_range(figure, 0), shown_range(figure, 1));
  const auto spot_of = [&](double x, double y) { return panel.at(shown(figure, x, 0), shown(figure, y, 1)); };
  svg.text({kTopView.x, kTopView.y - kHeadingGap}, "heading", "Top view");
  panel.draw_frame(svg, axis_name(figure, 0), axis_name(figure, 1));
  svg.begin_clip(kTopView);
  std::vector<Spot> spots;
  spots.reserve(figure.measurement.sample.points.size());
  for (const auto& point : figure.measurement.sample.points)
    spots.push_back(spot_of(point.position[0], point.position[1]));
  if (figure.measurement.kind == Kind::kCentre) {
    draw_sigmas(svg, figure, panel);
  } else if (figure.is_path()) {
    draw_path(svg, figure, spots);
  } else {
    draw_cloud(svg, spots);
  }
  if (const auto& circle = figure.circle) {
    svg.circle(spot_of(circle->x, circle->y), circle->radius * panel.pixels_per_unit(), "fit");
  } else if (figure.measurement.kind != Kind::kCentre) {
    svg.cross(spot_of(figure.summary.mean[0], figure.summary.mean[1]), 9, "mean");
  }
  svg.end_clip();
}

void draw_series_names(Svg& svg, const Box& box, const std::vector<Series>& series) {
  double right = box.x + box.width;
  const double y = box.y - kHeadingGap;
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

void draw_curves(Svg& svg, const Box& box, const Figure& figure, const Curves& curves) {
  const auto& points = figure.measurement.sample.points;
  const std::size_t stride = figure.measurement.sample.stride;
  const bool stream = figure.measurement.kind == Kind::kStream;
  const auto x_of = [&](std::size_t i) { return stream ? points[i].seconds : static_cast<double>(i * stride + 1); };
  std::vector<double> all;
  if (curves.from_zero) all.push_back(0);
  for (const auto& series : curves.series) all.insert(all.end(), series.values.begin(), series.values.end());
  const Range x = range_of({x_of(0), x_of(points.size() - 1)}, stream ? 0.001 : 1).widened(stream ? 0 : 0.03);
  const Panel panel(box, x, range_of(all, kLeastFineSpan).widened(0.1), stream ? 0 : 1);

  svg.text({box.x, box.y - kHeadingGap}, "heading", curves.heading);
  draw_series_names(svg, box, curves.series);
  panel.draw_frame(svg, stream ? "time [s]" : "point number", curves.quantity + in_brackets(curves.unit));
  svg.begin_clip(box);
  panel.draw_zero_line(svg);
  for (std::size_t i = 0; i < curves.series.size(); ++i) {
    const auto& values = curves.series[i].values;
    const std::size_t lacking = points.size() - values.size();
    std::vector<Spot> spots;
    spots.reserve(values.size());
    for (std::size_t k = 0; k < values.size(); ++k) spots.push_back(panel.at(x_of(lacking + k), values[k]));
    draw_series(svg, spots, i);
  }
  svg.end_clip();
}

// What is drawn below the top view.
std::vector<Curves> curves_of(const Figure& figure) {
  const auto& measurement = figure.measurement;
  std::vector<Curves> curves;
  if (measurement.kind == Kind::kCentre) return curves;
  curves.push_back(deviations_of(figure));
  if (measurement.spaced && measurement.count() > 1) curves.push_back(steps_of(figure));
  if (measurement.attitudes) curves.push_back(angles_of(figure));
  return curves;
}

std::string subtitle_of(const Figure& figure) {
  const auto& measurement = figure.measurement;
  if (measurement.kind == Kind::kCentre) return "Centre of a " + measurement.manner;
  const std::string drawn = measurement.sample.stride > 1 ? ", drawn: " + measurement.thinned_text() : "";
  const std::string count = std::to_string(figure.summary.count);
  const std::string plural = figure.summary.count == 1 ? "" : "s";
  if (measurement.kind == Kind::kStationary) return count + " stationary point" + plural + drawn;
  return count + " point" + plural + " streamed in " + fixed(figure.summary.seconds, 1) + " s" +
         (measurement.manner.empty() ? "" : ", " + measurement.manner) + drawn;
}

}  // namespace

std::string draw_chart(const Measurement& measurement) {
  const Figure figure = figure_of(measurement);
  const std::vector<Curves> curves = curves_of(figure);
  const double height = kBareHeight + kCurvesPitch * static_cast<double>(curves.size());
  const auto& tracker = measurement.tracker;
  const std::string title = tracker.name + ", serial number " + std::to_string(tracker.serial_number);
  const std::string subtitle = subtitle_of(figure);
  Svg svg(kWidth, height, title + ": " + subtitle, kChartStyle);
  svg.rectangle({0, 0, kWidth, height}, "paper");
  svg.text({kTopView.x, 42}, "title", title);
  svg.text({kTopView.x, 64}, "subtitle", subtitle);
  draw_top_view(svg, figure);
  draw_facts(svg, kFacts, figure);
  Box box = kFirstCurves;
  for (const auto& each : curves) {
    draw_curves(svg, box, figure, each);
    box.y += kCurvesPitch;
  }
  return svg.finish();
}

}  // namespace kestrine::cli
