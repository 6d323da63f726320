#include "cli/points/completeness.h"

#include <algorithm>
#include <cmath>

#include "cli/common/format.h"

namespace kestrine::cli {
namespace {

constexpr double kMostSteps = 1.5;  // from one point to the next
constexpr double kLongRest = 1;     // seconds

void check_packets(Completeness& result) {
  const Reception& reception = result.reception;
  if (reception.packets < reception.announced) {
    result.missing.push_back(counted(reception.announced - reception.packets, "packet") +
                             " overwritten before it was read");
  } else if (reception.points != reception.announced_points) {
    result.missing.push_back(counted(reception.points, "point") + " received of " +
                             std::to_string(reception.announced_points) + " announced");
  } else if (reception.packets > 0) {
    result.checked.emplace_back("every packet that arrived was read");
  }
}

void check_count(std::size_t came, std::size_t asked, Completeness& result) {
  if (asked == 0) return;
  if (came < asked) {
    result.missing.push_back(std::to_string(asked - came) + " of " + counted(asked, "point") + " asked for");
  } else {
    result.checked.emplace_back("all points asked for came");
  }
}

void check_order(const StepCounter& steps, Completeness& result) {
  if (steps.back() > 0) {
    result.missing.push_back("order: " + counted(steps.back(), "time stamp") + " not after the one before");
  } else {
    result.checked.emplace_back("time stamps rise");
  }
}

// Rounded, for sums and products leave digits that nobody would have typed.
std::string plain(double value) {
  return shortest(std::round(value * 1e9) / 1e9);
}

// So many steps from one point to the next, as a user knows them.
std::string steps_text(const Pitch& pitch, double steps, const LengthUnit& unit) {
  if (pitch.seconds > 0) return plain(steps * pitch.seconds * 1000) + " ms";
  if (pitch.distance > 0) return plain(steps * pitch.distance) + " " + std::string(unit.name);
  return plain(steps) + " cells";
}

void check_steps(const StepCounter& steps, const LengthUnit& unit, Completeness& result) {
  const std::string most = steps_text(steps.pitch(), kMostSteps, unit);
  if (steps.gaps() > 0) {
    result.missing.push_back("about " + counted(steps.lost(), "point") + " in " + counted(steps.gaps(), "gap") +
                             " of more than " + most + ", first after " + fixed(steps.first_gap(), 3) + " s");
  } else if (steps.run_past() == 0) {
    result.checked.push_back("no step is longer than " + most);
  } else {
    const double longest = std::round(steps.longest_run_past() * 100) / 100;
    result.checked.push_back(counted(steps.run_past(), "step") + " of more than " + most + ", up to " +
                             steps_text(steps.pitch(), longest, unit) +
                             ", as far as the target went between two readings");
  }
}

// As the crow flies, in steps of the expected distance or cells.
double steps_of_way(const Pitch& pitch, const Point& a, const Point& b) {
  double steps = pitch.distance > 0 ? distance(a, b) / pitch.distance : 0;
  for (std::size_t i = 0; i < pitch.cell.size(); ++i) {
    if (pitch.cell[i] > 0) steps = std::max(steps, std::abs(b.position[i] - a.position[i]) / pitch.cell[i]);
  }
  return steps;
}

// A target runs past the place where a point is due by no more than it goes in the time of one reading, which does not
// count as a gap.
bool has_run_past(const Pitch& pitch, double steps, double seconds) {
  if (!(seconds > pitch.fastest_seconds)) return true;
  return steps - steps * pitch.fastest_seconds / seconds <= kMostSteps;
}

void check_end(const Expectation& expectation, const Measurement& measurement, Completeness& result) {
  if (!expectation.cut_short || expectation.points > 0) return;
  const std::string since = measurement.count() == 0 ? "" : " after " + fixed(measurement.last.seconds, 3) + " s";
  result.missing.push_back("everything" + since);
}

// A count shows every loss, what is between the points only some.
std::string verdict_on(const Expectation& expectation, const StepCounter& steps) {
  if (expectation.points > 0) return "none";
  if (steps.points() < 2) return "unknown; with so few points a loss would not show";
  if (steps.pitch().seconds > 0) {
    return expectation.to_the_end ? "none from the first point to the end; a loss before the first would not show"
                                  : "none from the first point to the last; a loss before or after would not show";
  }
  std::string seen = "none seen; a loss at either end, or where the target came back, would not show";
  if (expectation.rest < kLongRest) return seen;
  return seen + "; whether the target rested for the last " + fixed(expectation.rest, 1) +
         " s or the stream had stopped is unknown";
}

}  // namespace

void StepCounter::add(const Point& point) {
  ++points_;
  if (last_) {
    const double seconds = point.seconds - last_->seconds;
    const double steps = pitch_.seconds > 0 ? seconds / pitch_.seconds : steps_of_way(pitch_, *last_, point);
    back_ += seconds <= 0 ? 1 : 0;
    if (steps > kMostSteps && pitch_.is_way() && has_run_past(pitch_, steps, seconds)) {
      ++run_past_;
      longest_run_past_ = std::max(longest_run_past_, steps);
    } else if (steps > kMostSteps) {
      if (gaps_++ == 0) first_gap_ = last_->seconds;
      lost_ += static_cast<std::size_t>(std::max(1.0, std::round(steps) - 1));
    }
  }
  last_ = point;
}

Completeness check_completeness(const Reception& reception, const Expectation& expectation, const StepCounter& steps,
                                const Measurement& measurement) {
  Completeness result;
  result.reception = reception;
  check_packets(result);
  check_count(measurement.count(), expectation.points, result);
  check_end(expectation, measurement, result);
  result.verdict = verdict_on(expectation, steps);
  if (steps.points() < 2) return result;
  check_order(steps, result);
  if (steps.pitch().seconds > 0 || steps.pitch().is_way()) check_steps(steps, *measurement.unit, result);
  return result;
}

Completeness check_centre(const Reception& reception, bool given_up) {
  Completeness result;
  result.reception = reception;
  const bool came = reception.packets > 0;
  if (!came && !given_up) result.missing.emplace_back("the centre");
  result.verdict = came ? "none" : "none; it was stopped before there was a centre";
  return result;
}

}  // namespace kestrine::cli
