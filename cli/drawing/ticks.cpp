#include "cli/drawing/ticks.h"

#include <algorithm>
#include <cmath>

#include "cli/common/format.h"

namespace kestrine::cli {
namespace {

double round_step(double raw) {
  const double power = std::pow(10.0, std::floor(std::log10(raw)));
  const double part = raw / power;
  if (part <= 1) return power;
  if (part <= 2) return 2 * power;
  if (part <= 5) return 5 * power;
  return 10 * power;
}

}  // namespace

Range range_of(const std::vector<double>& values, double least_span) {
  Range range{0, 0};
  bool first = true;
  for (const double value : values) {
    if (!std::isfinite(value)) continue;
    range = first ? Range{value, value} : Range{std::min(range.low, value), std::max(range.high, value)};
    first = false;
  }
  // Below a few units in the last place, a span holds no tick that could be told from its neighbour.
  const double smallest = std::max(least_span, 1e-9 * std::max(std::abs(range.low), std::abs(range.high)));
  const double missing = smallest - range.span();
  if (missing > 0) range = {range.low - missing / 2, range.high + missing / 2};
  return range;
}

Ticks round_ticks(Range range, double about, double least_step) {
  Ticks ticks;
  if (!(range.span() > 0) || !std::isfinite(range.span())) return ticks;
  const double step = round_step(std::max(range.span() / std::max(about, 1.0), least_step));
  ticks.decimals = std::max(0, static_cast<int>(-std::floor(std::log10(step) + 1e-9)));
  // Multiples, not sums: a sum drifts off the round numbers.
  for (double k = std::ceil(range.low / step - 1e-9); k * step <= range.high + step * 1e-9; ++k) {
    ticks.values.push_back(k * step);
  }
  return ticks;
}

std::string Ticks::label(double value) const {
  return with_minus(fixed(value, decimals));
}

}  // namespace kestrine::cli
