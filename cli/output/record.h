// What becomes of each point as it is measured.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "cli/output/files.h"
#include "cli/points/completeness.h"
#include "cli/points/measurement.h"

namespace kestrine::cli {

// Where a measurement ends; what comes after that is more than was asked for.
struct Limits {
  std::size_t count = 0;  // 0: no set number
  double seconds = 0;     // from the first point on; 0: no set time
};

// Keeps the points in the files and what is known of all of them, so that it does not grow with them.
class Record {
 public:
  Record(Measurement& measurement, OutputFiles& files) : measurement_(measurement), files_(files) {}

  // Before the first point of a stream.
  void expect(const Limits& limits, const Pitch& pitch);
  // Their seconds count from any time. Throws Failure when a file could not be written; the points count all the same.
  void add(std::span<const Point> points, std::span<const Attitude> attitudes = {});

  const Measurement& measurement() const { return measurement_; }
  // Whether a point came that is more than was asked for, so that nothing can be missing at the end.
  bool has_passed_end() const { return passed_end_; }
  const StepCounter& steps() const { return steps_; }

 private:
  bool is_within_limits(const Point& point) const;

  Measurement& measurement_;
  OutputFiles& files_;
  Limits limits_;
  StepCounter steps_;
  std::optional<double> first_seconds_;
  bool passed_end_ = false;
};

}  // namespace kestrine::cli
