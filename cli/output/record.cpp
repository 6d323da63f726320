#include "cli/output/record.h"

#include <vector>

namespace kestrine::cli {

void Record::expect(const Limits& limits, const Pitch& pitch) {
  limits_ = limits;
  steps_ = StepCounter(pitch);
}

bool Record::is_within_limits(const Point& point) const {
  return (limits_.count == 0 || measurement_.count() < limits_.count) &&
         (limits_.seconds == 0 || point.seconds < limits_.seconds);
}

void Record::add(std::span<const Point> points, std::span<const Attitude> attitudes) {
  std::vector<Point> kept;
  for (const Point& each : points) {
    if (passed_end_) break;
    Point point = each;
    if (!first_seconds_) first_seconds_ = point.seconds;
    point.seconds -= *first_seconds_;
    steps_.add(point);  // also the first one past the end: it shows whether there is a gap before it
    passed_end_ = !is_within_limits(point);
    if (passed_end_) break;
    measurement_.add(point, attitudes.empty() ? nullptr : &attitudes[kept.size()]);
    kept.push_back(point);
  }
  if (!kept.empty()) files_.write(measurement_, kept, attitudes.first(std::min(attitudes.size(), kept.size())));
}

}  // namespace kestrine::cli
