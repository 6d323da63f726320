#include "cli/drawing/chart.h"

#include <gtest/gtest.h>

#include <numbers>

#include "cli/drawing/figure.h"
#include "cli/drawing/panel.h"
#include "points.h"

namespace kestrine::cli {
namespace {

constexpr double kTurn = 2 * std::numbers::pi;

std::vector<Point> still_points(int count) {
  std::vector<Point> points;
  for (int i = 0; i < count; ++i) {
    points.push_back(point_at(2000 + 0.001 * (i % 5), 300 - 0.002 * (i % 7), 0.001 * (i % 3), i));
  }
  return points;
}

std::size_t count_of(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

TEST(Charts, hold_plain_numbers_for_every_figure) {
  for (const Kind kind : {Kind::kStationary, Kind::kStream}) {
    for (const auto& points : {still_points(1), still_points(30), still_points(5000), arc_of(kTurn, 3000),
                               std::vector<Point>{point_at(0, 0, 0), point_at(9, 0, 0)}, std::vector<Point>(3)}) {
      const std::string chart = draw_chart(measurement_of(kind, points));
      for (const char* wrong : {"nan", "inf", "e+", "e-0"})
        EXPECT_EQ(chart.find(wrong, chart.find("</style>")), std::string::npos);
    }
  }
}

TEST(Charts, escape_what_the_tracker_calls_itself) {
  auto measurement = measurement_of(Kind::kStationary, still_points(3));
  measurement.tracker.name = "<A & \"B\">\x01";
  const std::string chart = draw_chart(measurement);
  EXPECT_NE(chart.find("&lt;A &amp; &quot;B&quot;&gt; "), std::string::npos);
  EXPECT_EQ(chart.find('\x01'), std::string::npos);
}

TEST(Charts, name_what_suits_the_measurement_with_its_units) {
  auto probe = measurement_of(Kind::kStream, arc_of(kTurn, 300));
  probe.attitudes = true;
  probe.sample.attitudes.resize(300);
  auto spaced = measurement_of(Kind::kStream, arc_of(kTurn, 300));
  spaced.spaced = true;
  spaced.manner = "5 mm apart";
  const struct {
    Measurement measurement;
    std::vector<const char*> words;
  } cases[] = {
      {measurement_of(Kind::kStationary, still_points(10)),
       {"X relative to 2000.0020 mm [µm]", "deviation [µm]", "point number"}},
      {measurement_of(Kind::kStream, arc_of(kTurn, 500)),
       {">X [mm]<", ">Y [mm]<", "time [s]", "Deviation from the fitted circle", ">radial<"}},
      {probe, {"angle [°]"}},
      {spaced, {"Distance from the point before", "distance [mm]", "s, 5 mm apart</text>"}},
  };
  for (const auto& [measurement, words] : cases) {
    for (const char* each : words) EXPECT_EQ(count_of(draw_chart(measurement), each), 1u) << each;
  }
}

TEST(Charts, show_a_centre_with_its_ellipse_whatever_its_deviations) {
  Point point = point_at(1900, 350, 50);
  point.deviation = {0, 1e-9, 5};
  point.covariance = {1, 1, 1};  // more than the deviations allow
  const std::string centre = draw_chart(measurement_of(Kind::kCentre, {point}));
  EXPECT_EQ(centre.find("nan"), std::string::npos);
  EXPECT_EQ(count_of(centre, "3σ"), 1u);
}

TEST(Deviations, are_radial_for_a_circle_and_by_axis_for_anything_else) {
  const auto radial = deviations_of(figure_of(measurement_of(Kind::kStream, arc_of(kTurn, 200, 0.02))));
  ASSERT_EQ(radial.series.size(), 1u);
  EXPECT_EQ(radial.unit, "µm");
  EXPECT_NEAR(radial.series[0].values[0], 20, 1);

  const auto by_axis =
      deviations_of(figure_of(measurement_of(Kind::kStream, {point_at(0, 0, 0), point_at(100, 0, 8)})));
  ASSERT_EQ(by_axis.series.size(), 3u);
  EXPECT_EQ(by_axis.unit, "mm");
  EXPECT_NEAR(by_axis.series[2].values[1], 4, 1e-9);
}

TEST(Thinning, keeps_the_extremes_of_every_column) {
  std::vector<Spot> spots;
  for (int i = 0; i < 100'000; ++i) spots.push_back({i * 0.005, i == 77'777 ? -9.0 : i % 10 + 0.5});
  const auto kept = thinned_curve(spots);
  EXPECT_LT(kept.size(), 2100u);
  EXPECT_EQ(std::count_if(kept.begin(), kept.end(), [](const Spot& s) { return s.y == -9.0; }), 1);
  EXPECT_EQ(thinned_curve({{0, 1}, {10, 2}, {20, 0}}).size(), 3u);
}

}  // namespace
}  // namespace kestrine::cli
