#include "cli/output/progress.h"

#include <gtest/gtest.h>

#include <sstream>

namespace kestrine::cli {
namespace {

TEST(ProgressLine, is_silent_when_it_is_not_shown) {
  std::ostringstream out;
  {
    Progress progress(out, false, {100, 0});
    progress.update(50, 1);
    progress.clear();
  }
  EXPECT_EQ(out.str(), "");
}

TEST(ProgressLine, tells_points_rate_and_time_and_is_gone_at_the_end) {
  std::ostringstream out;
  {
    Progress progress(out, true, {1000, 0});
    progress.update(500, 0.5);
    EXPECT_NE(out.str().find("500 of 1000 points   1000/s   0:00.5"), std::string::npos) << out.str();
    EXPECT_NE(out.str().find("████████████░░░░░░░░░░░░ "), std::string::npos) << out.str();
  }
  EXPECT_TRUE(out.str().ends_with("\r\x1b[K"));
  EXPECT_EQ(out.str().find('\n'), std::string::npos);
}

TEST(ProgressLine, counts_no_points_that_stay_with_the_tracker) {
  std::ostringstream out;
  Progress progress(out, true, {0, 0, true});
  progress.update(0, 2);
  EXPECT_EQ(out.str(), "\r\x1b[Kmeasuring   0:02.0");
}

TEST(ProgressLine, is_redrawn_a_few_times_a_second_only) {
  std::ostringstream out;
  Progress progress(out, true, {0, 10});
  progress.update(1, 1);
  const auto once = out.str().size();
  progress.update(2, 1.01);
  EXPECT_EQ(out.str().size(), once);
  progress.update(3, 1.2);
  EXPECT_GT(out.str().size(), once);
}

}  // namespace
}  // namespace kestrine::cli
