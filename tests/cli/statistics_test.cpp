#include "cli/points/statistics.h"

#include <gtest/gtest.h>

#include <numbers>

#include "points.h"

namespace kestrine::cli {
namespace {

constexpr double kTurn = 2 * std::numbers::pi;

Summary summarise(const std::vector<Point>& points) {
  Totals totals;
  for (const auto& point : points) totals.add(point);
  return totals.summary();
}

TEST(Summaries, state_mean_spread_extent_and_rate) {
  const std::vector<Point> points{point_at(1, 10, -1, 0), point_at(2, 10, -1, 0.5), point_at(3, 13, -1, 1)};
  const Summary summary = summarise(points);
  EXPECT_EQ(summary.count, 3u);
  EXPECT_DOUBLE_EQ(summary.seconds, 1);
  EXPECT_DOUBLE_EQ(summary.rate, 2);
  const Vector mean{2, 11, -1}, spread{1, std::sqrt(3), 0};
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(summary.mean[i], mean[i], 1e-12);
    EXPECT_NEAR(summary.spread[i], spread[i], 1e-12);
  }
  EXPECT_EQ(summary.low, (Vector{1, 10, -1}));
  EXPECT_EQ(summary.high, (Vector{3, 13, -1}));
  EXPECT_NEAR(summary.rms_distance, std::sqrt(8.0 / 3), 1e-12);
  EXPECT_EQ(summarise({point_at(5, 6, 7, 3)}).spread, Vector{}) << "of one point";
}

TEST(Summaries, keep_micrometres_at_fifty_metres_over_a_million_points) {
  std::vector<Point> points(1'000'000, point_at(50000, -50000, 0));
  for (std::size_t i = 0; i < points.size(); i += 2) points[i].position[0] += 0.002;
  const Summary summary = summarise(points);
  EXPECT_NEAR(summary.mean[0], 50000.001, 1e-7);
  EXPECT_NEAR(summary.spread[0], 0.001, 1e-8);
}

TEST(Samples, stay_small_and_even_and_know_each_step) {
  Measurement measurement;
  for (int i = 0; i < 250'000; ++i) measurement.add(point_at(i, 0, 0, i));
  const Sample& sample = measurement.sample;
  EXPECT_EQ(measurement.count(), 250'000u);
  EXPECT_LE(sample.points.size(), Sample::kMost);
  EXPECT_EQ(measurement.thinned_text(), "1 of 8 points");
  for (std::size_t i = 1; i < sample.points.size(); ++i) {
    ASSERT_EQ(sample.points[i].seconds, static_cast<double>(8 * i));
    ASSERT_EQ(sample.steps[i], 1);
  }
}

TEST(Circles, are_found_on_full_turns_and_on_short_arcs_in_metres_as_in_micrometres) {
  for (const double arc : {kTurn, kTurn / 2, kTurn / 8}) {
    for (const double scale : {1e-3, 1.0, 1e3}) {
      auto points = arc_of(arc, 400, 0.02);
      for (auto& point : points) {
        for (double& value : point.position) value *= scale;
      }
      const auto circle = fit_circle(points);
      ASSERT_TRUE(circle) << arc;
      EXPECT_NEAR(circle->x / scale, 2000, 0.2);
      EXPECT_NEAR(circle->y / scale, -100, 0.2);
      EXPECT_NEAR(circle->radius / scale, 300, 0.2);
      EXPECT_NEAR(circle->rms / scale, 0.02, 1e-3);
      EXPECT_NEAR(circle->arc, arc * 399 / 400, 1e-2);
      EXPECT_NEAR(circle->radial_deviation(point_at(2301 * scale, -100 * scale, 0)) / scale, 1, 0.2);
    }
  }
}

TEST(Circles, are_not_seen_where_there_are_none) {
  std::vector<Point> cloud, line, still(100, point_at(1, 2, 3));
  for (int i = 0; i < 200; ++i) {
    const double wobble = 0.01 * ((i * 7919) % 13 - 6);
    cloud.push_back(point_at(2000 + wobble, 0.01 * ((i * 104729) % 11 - 5), 0));
    line.push_back(point_at(i, 0.5 * i + wobble, 0));
  }
  for (const auto& points : {cloud, line, still, arc_of(kTurn, 5), {}}) EXPECT_FALSE(fit_circle(points));
  EXPECT_FALSE(fit_circle(arc_of(kTurn / 100, 400, 0.2))) << "an arc that hardly leaves its chord";
}

}  // namespace
}  // namespace kestrine::cli
