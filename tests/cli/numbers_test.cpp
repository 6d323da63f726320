#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>

#include "cli/common/format.h"
#include "cli/common/units.h"
#include "cli/drawing/ticks.h"

namespace kestrine::cli {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(Numbers, shortest_reads_back_as_the_same_value) {
  for (const char* text : {"0", "-0.1", "2000.0145095383623", "1e-300", "1.7976931348623157e+308", "-5e-324"}) {
    EXPECT_EQ(shortest(std::strtod(text, nullptr)), text);
  }
  EXPECT_EQ(shortest(kInfinity) + shortest(std::nan("")), "");
}

TEST(Numbers, fixed_never_shows_a_negative_zero) {
  EXPECT_EQ(fixed(-0.00004, 4), "0.0000");
  EXPECT_EQ(fixed(-0.00006, 4), "-0.0001");
  EXPECT_EQ(fixed(std::nan(""), 2), "-");
  EXPECT_EQ(fixed(-1.7976931348623157e308, 10).size(), 321u);
}

TEST(Units, deviations_are_shown_finely_until_they_are_large) {
  const auto& mm = length_unit("mm");
  EXPECT_EQ(mm.deviation_text(0.01234), "12.3 µm");
  EXPECT_EQ(mm.deviation_text(-7.5), "-7.5000 mm");
  EXPECT_EQ(length_unit("in").deviation_text(0.001), "1.000 thou");
  for (const auto& [name, fine] : {std::pair{"ft", 12000.0}, {"yd", 36000.0}, {"m", 1e6}, {"um", 1.0}}) {
    EXPECT_NEAR(length_unit(name).to_fine(1), fine, 1e-6);
  }
}

TEST(Ticks, stand_at_round_numbers_inside_the_range) {
  const struct {
    Range range;
    double about;
    double least_step;
    const char* labels;
  } cases[] = {
      {{-0.25, 0.3}, 5, 0, "−0.2 0.0 0.2 "},
      {{1999.9981, 2000.0035}, 5, 0, "2000.000 2000.002 "},
      {{0.7, 3.3}, 10, 1, "1 2 3 "},
      {{0, 12345678}, 3, 0, "0 5000000 10000000 "},
      {{0, kInfinity}, 4, 0, ""},
  };
  for (const auto& one : cases) {
    const Ticks ticks = round_ticks(one.range, one.about, one.least_step);
    std::string labels;
    for (const double value : ticks.values) labels += ticks.label(value) + " ";
    EXPECT_EQ(labels, one.labels);
  }
}

TEST(Ticks, have_a_range_that_is_never_too_narrow_and_holds_numbers_only) {
  const Range range = range_of({3, std::nan(""), -1, kInfinity}, 0);
  EXPECT_EQ(range.low, -1);
  EXPECT_EQ(range.high, 3);
  EXPECT_GE(range_of({2e6, 2e6}, 0.5).span(), 0.49);
}

}  // namespace
}  // namespace kestrine::cli
