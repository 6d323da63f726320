#include "simulator/turn_seen.h"

#include <array>

namespace kestrine::simulator {
namespace {

using Corners = std::array<std::size_t, 3>;

Vector across(const Vector& a, const Vector& line) {
  return a - (dot(a, line) / dot(line, line)) * line;
}

template <class Distance>
std::size_t farthest(std::size_t count, const Distance& distance) {
  std::size_t best = 0;
  for (std::size_t i = 1; i < count; ++i) {
    if (distance(i) > distance(best)) best = i;
  }
  return best;
}

Corners corners_of(std::span<const Vector> points) {
  Vector middle;
  for (const Vector& each : points) middle = middle + (1.0 / static_cast<double>(points.size())) * each;
  const std::size_t first = farthest(points.size(), [&](std::size_t i) { return length(points[i] - middle); });
  const std::size_t second = farthest(points.size(), [&](std::size_t i) { return length(points[i] - points[first]); });
  const Vector line = points[second] - points[first];
  const std::size_t third =
      farthest(points.size(), [&](std::size_t i) { return length(across(points[i] - points[first], line)); });
  return {first, second, third};
}

// X along the first two corners, the third in the plane of X and Y.
std::optional<Matrix> frame_of(std::span<const Vector> points, const Corners& corners) {
  const Vector line = points[corners[1]] - points[corners[0]];
  const Vector off = across(points[corners[2]] - points[corners[0]], line);
  if (!(length(off) > kNarrow * length(line))) return std::nullopt;
  const Vector x = (1 / length(line)) * line;
  const Vector y = (1 / length(off)) * off;
  return from_columns(x, y, cross(x, y));
}

}  // namespace

std::optional<Matrix> turn_seen(std::span<const Vector> to, std::span<const Vector> from) {
  if (from.size() < 3) return std::nullopt;
  const Corners corners = corners_of(from);
  const auto from_frame = frame_of(from, corners);
  const auto to_frame = frame_of(to, corners);
  if (!from_frame || !to_frame) return std::nullopt;
  return *to_frame * transposed(*from_frame);
}

}  // namespace kestrine::simulator
