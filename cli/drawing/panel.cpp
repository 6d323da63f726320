#include "cli/drawing/panel.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <unordered_set>

namespace kestrine::cli {
namespace {

constexpr double kPixelsPerTickX = 65;
constexpr double kPixelsPerTickY = 35;
constexpr double kLeastMove = 0.5;  // pixels
constexpr std::size_t kMostSpots = 6000;

Range with_span(Range range, double span) {
  const double middle = (range.low + range.high) / 2;
  return {middle - span / 2, middle + span / 2};
}

}  // namespace

Panel::Panel(const Box& box, Range x, Range y, double least_x_step)
    : box_(box),
      x_(x),
      y_(y),
      x_ticks_(round_ticks(x, box.width / kPixelsPerTickX, least_x_step)),
      y_ticks_(round_ticks(y, box.height / kPixelsPerTickY)) {}

Panel Panel::equal_scale(const Box& box, Range x, Range y) {
  const double per_pixel = std::max(x.span() / box.width, y.span() / box.height);
  Panel panel(box, with_span(x, per_pixel * box.width), with_span(y, per_pixel * box.height));
  // The same steps both ways make the grid one of squares.
  panel.y_ticks_ = round_ticks(panel.y_, box.height / kPixelsPerTickX);
  return panel;
}

Spot Panel::at(double x, double y) const {
  return {box_.x + (x - x_.low) / x_.span() * box_.width, box_.y + (y_.high - y) / y_.span() * box_.height};
}

void Panel::draw_frame(Svg& svg, std::string_view x_name, std::string_view y_name) const {
  const double bottom = box_.y + box_.height;
  svg.rectangle(box_, "field");
  for (const double value : x_ticks_.values) {
    const double x = at(value, y_.low).x;
    svg.line({x, box_.y}, {x, bottom}, "grid");
    svg.text({x, bottom + 16}, "tick middle", x_ticks_.label(value));
  }
  for (const double value : y_ticks_.values) {
    const double y = at(x_.low, value).y;
    svg.line({box_.x, y}, {box_.x + box_.width, y}, "grid");
    svg.text({box_.x - 7, y + 4}, "tick right", y_ticks_.label(value));
  }
  svg.rectangle(box_, "frame");
  svg.text({box_.x + box_.width / 2, bottom + 36}, "axis-name middle", x_name);
  svg.text_upwards({box_.x - 66, box_.y + box_.height / 2}, "axis-name middle", y_name);
}

void Panel::draw_zero_line(Svg& svg) const {
  if (y_.low >= 0 || y_.high <= 0) return;
  svg.line(at(x_.low, 0), at(x_.high, 0), "zero");
}

std::vector<Spot> thinned_path(const std::vector<Spot>& spots) {
  std::vector<Spot> kept;
  for (const auto& spot : spots) {
    const bool moved = kept.empty() || std::hypot(spot.x - kept.back().x, spot.y - kept.back().y) >= kLeastMove;
    if (moved) kept.push_back(spot);
  }
  if (kept.size() <= kMostSpots) return kept;
  const std::size_t stride = (kept.size() + kMostSpots - 1) / kMostSpots;
  std::vector<Spot> strided;
  for (std::size_t i = 0; i < kept.size(); i += stride) strided.push_back(kept[i]);
  return strided;
}

std::vector<Spot> thinned_curve(const std::vector<Spot>& spots) {
  std::vector<Spot> kept;
  for (std::size_t first = 0; first < spots.size();) {
    std::size_t last = first;
    std::size_t lowest = first;
    std::size_t highest = first;
    for (; last < spots.size() && spots[last].x - spots[first].x < kLeastMove; ++last) {
      if (spots[last].y > spots[lowest].y) lowest = last;
      if (spots[last].y < spots[highest].y) highest = last;
    }
    if (last == first) last = first + 1;
    kept.push_back(spots[std::min(lowest, highest)]);
    if (lowest != highest) kept.push_back(spots[std::max(lowest, highest)]);
    first = last;
  }
  return kept;
}

std::vector<Spot> thinned_cloud(const std::vector<Spot>& spots) {
  std::vector<Spot> kept;
  std::unordered_set<std::int64_t> taken;
  for (const auto& spot : spots) {
    const auto column = static_cast<std::int64_t>(std::floor(spot.x));
    const auto row = static_cast<std::int64_t>(std::floor(spot.y));
    if (taken.insert(column * 65536 + row).second) kept.push_back(spot);
  }
  return kept;
}

}  // namespace kestrine::cli
