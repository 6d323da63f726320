#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <fstream>
#include <limits>
#include <sstream>

#include "cli/common/failure.h"
#include "cli/output/files.h"
#include "cli/output/point_files.h"
#include "points.h"

namespace kestrine::cli {
namespace {

TEST(OutputFiles, end_with_the_last_line_that_there_was_room_for) {
  const std::string path = testing::TempDir() + "small.csv";
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  signal(SIGXFSZ, SIG_IGN);
  OutputFile file(path);
  const rlimit small{10, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &small);
  EXPECT_THROW(file.write("one\ntwo\nthree\n"), Failure);
  setrlimit(RLIMIT_FSIZE, &before);
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  EXPECT_EQ(text.str(), "one\ntwo\n");
}

Measurement full_measurement(Kind kind, bool extended) {
  Point point = point_at(2000.0145095383623, -0.1, 1e-7, 1.5);
  point.deviation = {0.01, 0.02, 0.03};
  point.deviation_total = 0.04;
  point.covariance = {1e-6, -2e-6, 3e-6};
  point.temperature = 20.5;
  point.pressure = 1013.25;
  point.humidity = std::numeric_limits<double>::quiet_NaN();
  point.status = 2;
  auto measurement = measurement_of(kind, {point});
  measurement.extended = extended;
  return measurement;
}

std::string csv_of(const Measurement& measurement) {
  return csv_rows(measurement, 0, measurement.sample.points, measurement.sample.attitudes);
}

TEST(PointFiles, have_columns_that_name_their_units_and_values_in_full) {
  const struct {
    Kind kind;
    bool extended;
    const char* text;
  } cases[] = {
      {Kind::kStationary, false,
       "index,time_s,x_mm,y_mm,z_mm,std_x_mm,std_y_mm,std_z_mm,std_total_mm,temperature_c,pressure_mbar,"
       "humidity_percent\n1,1.5,2000.0145095383623,-0.1,1e-07,0.01,0.02,0.03,0.04,20.5,1013.25,\n"},
      {Kind::kStream, true,
       "index,time_s,x_mm,y_mm,z_mm,std_x_mm,std_y_mm,std_z_mm,std_total_mm,cov_xy_mm2,cov_xz_mm2,cov_yz_mm2,"
       "temperature_c,pressure_mbar,humidity_percent,status\n"
       "1,1.5,2000.0145095383623,-0.1,1e-07,0.01,0.02,0.03,0.04,1e-06,-2e-06,3e-06,20.5,1013.25,,2\n"},
      {Kind::kCentre, false,
       "index,x_mm,y_mm,z_mm,std_x_mm,std_y_mm,std_z_mm,std_total_mm,temperature_c,pressure_mbar,humidity_percent\n"
       "1,2000.0145095383623,-0.1,1e-07,0.01,0.02,0.03,0.04,20.5,1013.25,\n"},
  };
  for (const auto& one : cases) EXPECT_EQ(csv_of(full_measurement(one.kind, one.extended)), one.text);
}

// Here of the probe, which has the most columns.
TEST(PointFiles, hold_the_same_as_json_with_one_object_a_line) {
  auto measurement = full_measurement(Kind::kStream, true);
  measurement.attitudes = true;
  measurement.sample.attitudes = {{{1, 0.5, 0.25, -0.5}, {10, 20, -30}, {0.1, 0.2, 0.3}, 0.4, 6, 1}, {}};
  measurement.add(point_at(1, 2, 3));
  EXPECT_NE(csv_of(measurement).find("06,1,0.5,0.25,-0.5,10,20,-30,0.1,0.2,0.3,0.4,6,1,20.5,"), std::string::npos);
  std::stringstream text(json_rows(measurement, 0, measurement.sample.points, measurement.sample.attitudes));
  std::string first, second, none;
  ASSERT_TRUE(std::getline(text, first) && std::getline(text, second));
  EXPECT_FALSE(std::getline(text, none));
  EXPECT_TRUE(first.starts_with(R"({"index":1,"time_s":1.5,"x_mm":2000.0145095383623,"y_mm":-0.1,"z_mm":1e-07,)"));
  EXPECT_TRUE(first.ends_with(R"("rotation_status":6,"trigger":1,"temperature_c":20.5,"pressure_mbar":1013.25,)"
                              R"("humidity_percent":null,"status":2})"));
  EXPECT_NE(second.find(R"("z_mm":3.0)"), std::string::npos);
}

}  // namespace
}  // namespace kestrine::cli
