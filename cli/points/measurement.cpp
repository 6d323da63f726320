#include "cli/points/measurement.h"

namespace kestrine::cli {
namespace {

void halve(auto& things) {
  for (std::size_t i = 0; 2 * i < things.size(); ++i) things[i] = things[2 * i];
  things.resize((things.size() + 1) / 2);
}

}  // namespace

void Sample::add(std::size_t index, const Point& point, const Attitude* attitude, double step) {
  if (index % stride != 0) return;
  points.push_back(point);
  steps.push_back(step);
  if (attitude != nullptr) attitudes.push_back(*attitude);
  if (points.size() <= kMost) return;
  halve(points);
  halve(steps);
  halve(attitudes);
  stride *= 2;
}

void Measurement::add(const Point& point, const Attitude* attitude) {
  const double step = count() > 0 ? distance(last, point) : 0;
  sample.add(count(), point, attitude, step);
  totals.add(point, attitude);
  last = point;
}

std::string Measurement::thinned_text() const {
  if (sample.stride == 1) return {};
  return "1 of " + std::to_string(sample.stride) + " points";
}

}  // namespace kestrine::cli
