// One plot: a field with a grid, axes with labels at round numbers, and the mapping from values to the drawing.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli/drawing/svg.h"
#include "cli/drawing/ticks.h"

namespace kestrine::cli {

class Panel {
 public:
  // Labels on the x axis stand no closer than least_x_step: 1 for things that are counted.
  Panel(const Box& box, Range x, Range y, double least_x_step = 0);
  // With one scale for both axes: the shorter one is widened around its middle.
  static Panel equal_scale(const Box& box, Range x, Range y);

  Spot at(double x, double y) const;
  double pixels_per_unit() const { return box_.width / x_.span(); }

  void draw_frame(Svg& svg, std::string_view x_name, std::string_view y_name) const;
  void draw_zero_line(Svg& svg) const;

 private:
  Box box_;
  Range x_;
  Range y_;
  Ticks x_ticks_;
  Ticks y_ticks_;
};

// Fewer spots that look the same. A million points would make a picture that no viewer opens.
std::vector<Spot> thinned_path(const std::vector<Spot>& spots);
// For a curve that only ever goes right: its lowest and highest spot in every column survive.
std::vector<Spot> thinned_curve(const std::vector<Spot>& spots);
std::vector<Spot> thinned_cloud(const std::vector<Spot>& spots);

}  // namespace kestrine::cli
