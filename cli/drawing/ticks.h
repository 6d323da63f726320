// Where an axis has its labels.
#pragma once

#include <string>
#include <vector>

namespace kestrine::cli {

struct Range {
  double low = 0;
  double high = 0;

  double span() const { return high - low; }
  // Grown by that part of its span at either end.
  Range widened(double part) const { return {low - part * span(), high + part * span()}; }
};

// The smallest range around the values that has a span: never less than least_span, and not empty.
Range range_of(const std::vector<double>& values, double least_span);

struct Ticks {
  std::vector<double> values;  // multiples of 1, 2 or 5 times a power of ten, all inside the range
  int decimals = 0;            // that tell them apart

  std::string label(double value) const;
};

// About that many, and no closer together than least_step.
Ticks round_ticks(Range range, double about, double least_step = 0);

}  // namespace kestrine::cli
