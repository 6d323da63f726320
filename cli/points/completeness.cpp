#include "cli/points/completeness.h"

#include <algorithm>
#include <cmath>

#include "cli/common/format.h"

namespace kestrine::cli {
namespace {

constexpr double kMostSteps = 1.5;  // from one point to the next

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

void check_order(std::span<const Point> points, Completeness& result) {
  std::size_t back = 0;
  for (std::size_t i = 1; i < points.size(); ++i) back += points[i].seconds <= points[i - 1].seconds ? 1 : 0;
  if (back > 0) {
    result.missing.push_back("order: " + counted(back, "time stamp") + " not after the one before");
  } else {
    result.checked.emplace_back("time stamps rise");
  }
}

// `steps` says how many steps two neighbours are apart.
void check_steps(std::span<const Point> points, const std::string& most, const auto& steps, Completeness& result) {
  std::size_t gaps = 0;
  std::size_t lost = 0;
  std::size_t first = 0;
  for (std::size_t i = 1; i < points.size(); ++i) {
    const double wide = steps(points[i - 1], points[i]);
    if (!(wide > kMostSteps)) continue;
    if (gaps++ == 0) first = i - 1;
    lost += static_cast<std::size_t>(std::max(1.0, std::round(wide) - 1));
  }
  if (gaps == 0) {
    result.checked.push_back("no step is longer than " + most);
    return;
  }
  result.missing.push_back("about " + counted(lost, "point") + " in " + counted(gaps, "gap") + " of more than " + most +
                           ", first after " + fixed(points[first].seconds, 3) + " s");
}

// As the crow flies, in steps of the expected distance or cells. A target runs past the place where a point is due by
// no more than it goes in the time of one reading, which does not count as a gap.
double steps_of_way(const Expectation& expectation, const Point& a, const Point& b) {
  double steps = expectation.distance > 0 ? distance(a, b) / expectation.distance : 0;
  for (std::size_t i = 0; i < expectation.cell.size(); ++i) {
    if (expectation.cell[i] == 0) continue;
    steps = std::max(steps, std::abs(b.position[i] - a.position[i]) / expectation.cell[i]);
  }
  const double seconds = b.seconds - a.seconds;
  if (!(seconds > expectation.fastest_seconds)) return 0;
  const double run_past = steps * expectation.fastest_seconds / seconds;
  return steps - run_past > kMostSteps ? steps : 0;
}

void check_ways(std::span<const Point> points, const Expectation& expectation, const LengthUnit& unit,
                Completeness& result) {
  const std::string most = expectation.distance > 0
                               ? shortest(kMostSteps * expectation.distance) + " " + std::string(unit.name)
                               : shortest(kMostSteps) + " cells";
  const auto steps = [&](const Point& a, const Point& b) { return steps_of_way(expectation, a, b); };
  check_steps(points, most, steps, result);
}

void check_end(std::span<const Point> points, const Expectation& expectation, Completeness& result) {
  if (!expectation.cut_short || expectation.points > 0) return;
  const std::string since = points.empty() ? "" : " after " + fixed(points.back().seconds, 3) + " s";
  result.missing.push_back("everything" + since);
}

// A count shows every loss, what is between the points only some.
std::string verdict_on(std::span<const Point> points, const Expectation& expectation) {
  if (expectation.points > 0) return "none";
  if (points.size() < 2) return "unknown; with so few points a loss would not show";
  if (expectation.seconds > 0) return "none from the first point to the last; a loss before or after would not show";
  return "none seen; a loss at either end, or where the target came back, would not show";
}

}  // namespace

Completeness check_completeness(const Reception& reception, const Expectation& expectation,
                                std::span<const Point> points, const LengthUnit& unit) {
  Completeness result;
  result.reception = reception;
  check_packets(result);
  check_count(points.size(), expectation.points, result);
  check_end(points, expectation, result);
  result.verdict = verdict_on(points, expectation);
  if (points.size() < 2) return result;
  check_order(points, result);
  if (expectation.seconds > 0) {
    const auto steps = [&](const Point& a, const Point& b) { return (b.seconds - a.seconds) / expectation.seconds; };
    check_steps(points, shortest(kMostSteps * expectation.seconds * 1000) + " ms", steps, result);
  }
  if (expectation.distance > 0 || expectation.cell != Vector{}) check_ways(points, expectation, unit, result);
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
