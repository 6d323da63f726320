#include "cli/points/completeness.h"

#include <gtest/gtest.h>

#include "points.h"

namespace kestrine::cli {
namespace {

// A millisecond and a length unit from point to point.
std::vector<Point> row_of(int count) {
  std::vector<Point> points;
  for (int i = 0; i < count; ++i) points.push_back(point_at(i, 0, 0, i * 0.001));
  return points;
}

Completeness check(const Reception& reception, const Expectation& expectation, const Pitch& pitch,
                   const std::vector<Point>& points) {
  StepCounter steps(pitch);
  for (const auto& point : points) steps.add(point);
  return check_completeness(reception, expectation, steps, measurement_of(Kind::kStream, points));
}

std::string missing(const Reception& reception, const Expectation& expectation, const Pitch& pitch,
                    const std::vector<Point>& points) {
  std::string all;
  for (const auto& thing : check(reception, expectation, pitch, points).missing) all += thing + "\n";
  return all;
}

constexpr Reception kAll{.announced = 2, .announced_points = 10, .packets = 2, .points = 10, .bytes = 456};

TEST(Completeness, is_stated_only_of_what_was_looked_at) {
  const auto points = row_of(10);
  const auto whole = check(kAll, {.points = 10}, {.seconds = 0.001}, points);
  EXPECT_TRUE(whole.missing.empty());
  EXPECT_EQ(whole.verdict, "none");
  EXPECT_EQ(whole.checked.size(), 4u);
  EXPECT_EQ(check(kAll, {}, {.seconds = 0.001}, points).verdict,
            "none from the first point to the last; a loss before or after would not show");
  EXPECT_EQ(check(kAll, {}, {.distance = 1, .fastest_seconds = 0.0001}, points).verdict,
            "none seen; a loss at either end, or where the target came back, would not show");
  EXPECT_EQ(check({}, {}, {.seconds = 1}, {}).verdict, "unknown; with so few points a loss would not show");
}

TEST(Completeness, fails_for_a_stream_that_was_cut_short) {
  EXPECT_EQ(missing({}, {.cut_short = true}, {}, {}), "everything\n");
  EXPECT_EQ(missing({}, {.points = 3, .cut_short = true}, {}, {}), "3 of 3 points asked for\n");
}

TEST(Completeness, fails_for_packets_that_were_overwritten_and_for_points_that_were_asked_for) {
  Reception reception = kAll;
  reception.announced_points = 12;
  EXPECT_EQ(missing(reception, {}, {}, row_of(10)), "10 points received of 12 announced\n");
  reception.announced = 3;
  EXPECT_EQ(missing(reception, {.points = 11}, {}, row_of(10)),
            "1 packet overwritten before it was read\n1 of 11 points asked for\n");
}

TEST(Completeness, fails_for_gaps_in_time_and_for_stamps_that_do_not_rise) {
  auto points = row_of(20);
  points.erase(points.begin() + 15, points.begin() + 17);
  points.erase(points.begin() + 5);
  EXPECT_EQ(missing(kAll, {}, {.seconds = 0.001}, points),
            "about 3 points in 2 gaps of more than 1.5 ms, first after 0.004 s\n");
  EXPECT_EQ(missing(kAll, {}, {}, points), "");
  points = row_of(4);
  points[2].seconds = points[1].seconds;
  EXPECT_EQ(missing(kAll, {}, {}, points), "order: 1 time stamp not after the one before\n");
}

TEST(Completeness, fails_for_gaps_in_the_way_unless_the_target_ran_past) {
  auto points = row_of(10);
  points.erase(points.begin() + 3, points.begin() + 5);
  EXPECT_EQ(missing(kAll, {}, {.distance = 1, .fastest_seconds = 0.001}, points),
            "about 2 points in 1 gap of more than 1.5 mm, first after 0.002 s\n");
  EXPECT_EQ(missing(kAll, {}, {.distance = 1, .fastest_seconds = 0.01}, points), "");
  EXPECT_EQ(check(kAll, {}, {.distance = 1, .fastest_seconds = 0.01}, points).checked.back(),
            "1 step of more than 1.5 mm, up to 3 mm, as far as the target went between two readings");
  EXPECT_EQ(missing(kAll, {}, {.cell = {1, 1, 0}, .fastest_seconds = 0.001}, points),
            "about 2 points in 1 gap of more than 1.5 cells, first after 0.002 s\n");
  EXPECT_EQ(missing(kAll, {}, {.cell = {0, 1, 1}, .fastest_seconds = 0.001}, points), "");
  // Read every millisecond, taken at every second reading, 4 mm apart each.
  EXPECT_EQ(
      missing(kAll, {}, {.distance = 5, .fastest_seconds = 0.001}, {point_at(0, 0, 0, 0), point_at(8, 0, 0, 0.002)}),
      "");
}

}  // namespace
}  // namespace kestrine::cli
