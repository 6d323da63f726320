#include "cli/reception.h"

#include <cmath>

#include "cli/format.h"

namespace kestrine::cli {
namespace {

constexpr double kMostSteps = 1.5;  // from one point to the next

std::string counted(std::size_t count, const std::string& thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

double distance(const Point& a, const Point& b) {
  return std::hypot(b.position[0] - a.position[0], b.position[1] - a.position[1], b.position[2] - a.position[2]);
}

void check_packets(const Reception& reception, Completeness& result) {
  if (reception.packets < reception.announced) {
    result.missing.push_back(counted(reception.announced - reception.packets, "announced packet") + " not received");
  } else if (reception.points != reception.announced_points) {
    result.missing.push_back(counted(reception.points, "point") + " received of " +
                             std::to_string(reception.announced_points) + " announced");
  } else {
    result.checked.emplace_back("every packet announced was received");
  }
}

void check_count(std::size_t came, std::size_t asked, Completeness& result) {
  if (asked == 0) return;
  result.tells_points = true;
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

// `steps` tells how many steps two neighbours are apart.
void check_steps(std::span<const Point> points, const std::string& most, const auto& steps, Completeness& result) {
  result.tells_points = true;
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

}  // namespace

Completeness check_completeness(const Reception& reception, const Expectation& expectation,
                                std::span<const Point> points, const LengthUnit& unit) {
  Completeness result;
  check_packets(reception, result);
  check_count(points.size(), expectation.points, result);
  if (points.size() > 1) check_order(points, result);
  if (expectation.seconds > 0) {
    const auto steps = [&](const Point& a, const Point& b) { return (b.seconds - a.seconds) / expectation.seconds; };
    check_steps(points, shortest(kMostSteps * expectation.seconds * 1000) + " ms", steps, result);
  }
  if (expectation.distance > 0) {
    // A target may run away from a tracker that measures as fast as it can.
    const auto steps = [&](const Point& a, const Point& b) {
      const bool hurried = b.seconds - a.seconds < kMostSteps * expectation.fastest_seconds;
      return hurried ? 0 : distance(a, b) / expectation.distance;
    };
    const std::string most = shortest(kMostSteps * expectation.distance);
    check_steps(points, most + " " + std::string(unit.name), steps, result);
  }
  return result;
}

}  // namespace kestrine::cli
