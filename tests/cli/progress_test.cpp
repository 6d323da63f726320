#include "cli/output/progress.h"

#include <gtest/gtest.h>

#include <sstream>

namespace kestrine::cli {
namespace {

TEST(ProgressLine, shows_points_rate_and_time_a_few_times_a_second_and_is_gone_at_the_end) {
  std::ostringstream out;
  {
    Progress progress(out, true, {1000, 0});
    progress.update(500, 0.5);
    EXPECT_NE(out.str().find("500 of 1000 points   1000/s   0:00.5"), std::string::npos) << out.str();
    EXPECT_NE(out.str().find("████████████░░░░░░░░░░░░ "), std::string::npos) << out.str();
    const auto once = out.str().size();
    progress.update(510, 0.51);
    EXPECT_EQ(out.str().size(), once);
    progress.update(700, 0.7);
    EXPECT_GT(out.str().size(), once);
  }
  EXPECT_TRUE(out.str().ends_with("\r\x1b[K"));
  EXPECT_EQ(out.str().find('\n'), std::string::npos);
}

}  // namespace
}  // namespace kestrine::cli
