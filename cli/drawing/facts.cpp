#include "cli/drawing/facts.h"

#include "cli/common/format.h"

namespace kestrine::cli {
namespace {

constexpr double kLineHeight = 20;

class Column {
 public:
  Column(Svg& svg, const Box& box) : svg_(svg), left_(box.x), right_(box.x + box.width), y_(box.y + 10) {}

  void heading(std::string_view words) {
    if (started_) {
      svg_.line({left_, y_ - 8}, {right_, y_ - 8}, "rule");
      y_ += 12;
    }
    started_ = true;
    svg_.text({left_, y_}, "heading", words);
    y_ += kLineHeight;
  }
  void row(std::string_view key, const std::string& value) {
    svg_.text({left_, y_}, "key", key);
    svg_.text({right_, y_}, "value right", with_minus(value));
    y_ += kLineHeight;
  }
  // One line of the legend; returns the middle of the space for its sample, which is 24 pixels wide.
  Spot legend(std::string_view words) {
    svg_.text({left_ + 34, y_}, "key", words);
    const Spot sample{left_ + 12, y_ - 4};
    y_ += kLineHeight;
    return sample;
  }

 private:
  Svg& svg_;
  double left_;
  double right_;
  double y_;
  bool started_ = false;
};

void list_circle(Column& column, const LengthUnit& unit, const Circle& circle) {
  column.heading("Circle in the top view");
  column.row("centre X", unit.position_text(circle.x));
  column.row("centre Y", unit.position_text(circle.y));
  column.row("radius", unit.position_text(circle.radius));
  column.row("deviation, rms", unit.deviation_text(circle.rms));
}

void list_mean(Column& column, const LengthUnit& unit, const Summary& summary) {
  column.heading("Mean");
  for (std::size_t i = 0; i < 3; ++i) column.row(kAxisNames[i], unit.position_text(summary.mean[i]));
  if (summary.count < 2) return;
  column.heading("Spread (1σ)");
  for (std::size_t i = 0; i < 3; ++i) column.row(kAxisNames[i], unit.deviation_text(summary.spread[i]));
  column.row("in space, rms", unit.deviation_text(summary.rms_distance));
}

void list_extent(Column& column, const LengthUnit& unit, const Summary& summary) {
  column.heading(std::string("Extent [").append(unit.name) + "]");
  for (std::size_t i = 0; i < 3; ++i) {
    const std::string low = with_minus(fixed(summary.low[i], unit.decimals));
    column.row(kAxisNames[i], low + " … " + with_minus(fixed(summary.high[i], unit.decimals)));
  }
}

void list_centre(Column& column, const LengthUnit& unit, const Point& centre) {
  column.heading("Centre");
  for (std::size_t i = 0; i < 3; ++i) column.row(kAxisNames[i], unit.position_text(centre.position[i]));
  column.heading("Standard deviation (1σ)");
  for (std::size_t i = 0; i < 3; ++i) column.row(kAxisNames[i], unit.deviation_text(centre.deviation[i]));
  column.row("in space", unit.deviation_text(centre.deviation_total));
}

void draw_legend(Svg& svg, Column& column, const Figure& figure) {
  column.heading("Top view");
  const auto dash = [&](Spot at, std::string_view css) { svg.line({at.x - 12, at.y}, {at.x + 12, at.y}, css); };
  if (figure.is_path()) {
    dash(column.legend("path of the target"), "line first");
    if (figure.measurement.spaced) svg.dots({column.legend("measured points")}, 4, "dot first");
    svg.circle(column.legend("start"), 5, "start");
  } else {
    svg.circle(column.legend("measured points"), 3.5, "dot first");
  }
  if (figure.circle) {
    dash(column.legend("fitted circle"), "fit");
  } else {
    svg.cross(column.legend("mean"), 7, "mean");
  }
}

}  // namespace

void draw_facts(Svg& svg, const Box& box, const Figure& figure) {
  const auto& unit = *figure.measurement.unit;
  const auto& summary = figure.summary;
  Column column(svg, box);
  if (figure.measurement.kind == Kind::kCentre)
    return list_centre(column, unit, figure.measurement.sample.points.front());
  column.heading("Measured");
  column.row("points", std::to_string(summary.count));
  column.row("time", fixed(summary.seconds, 2) + " s");
  if (summary.rate > 0) column.row("rate", fixed(summary.rate, 1) + " /s");
  if (figure.is_path()) list_extent(column, unit, summary);
  if (figure.circle) {
    list_circle(column, unit, *figure.circle);
  } else {
    list_mean(column, unit, summary);
  }
  draw_legend(svg, column, figure);
}

}  // namespace kestrine::cli
