#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>

#include "cli/common/failure.h"
#include "cli/output/files.h"
#include "cli/output/point_files.h"
#include "points.h"

namespace kestrine::cli {
namespace {

namespace fs = std::filesystem;

class Files : public testing::Test {
 protected:
  void SetUp() override {
    folder_ = fs::path(testing::TempDir()) / testing::UnitTest::GetInstance()->current_test_info()->name();
    fs::remove_all(folder_);
    fs::create_directories(folder_);
  }
  void TearDown() override { fs::remove_all(folder_); }

  std::string path(const char* name) const { return (folder_ / name).string(); }
  std::vector<std::string> names() const {
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator(folder_)) found.push_back(entry.path().filename().string());
    return found;
  }
  static std::string text_of(const std::string& name) {
    std::ostringstream text;
    text << std::ifstream(name).rdbuf();
    return text.str();
  }
  static void put(const std::string& name, const std::string& text) { std::ofstream(name) << text; }

  fs::path folder_;
};

TEST_F(Files, appear_only_when_they_are_whole) {
  const OutputFile file(path("new.csv"));
  EXPECT_TRUE(names().empty());
  file.write([&](std::ostream& out) {
    out << "one\n" << std::flush;
    EXPECT_FALSE(fs::exists(path("new.csv")));
  });
  EXPECT_EQ(text_of(path("new.csv")), "one\n");
  EXPECT_EQ(names().size(), 1u);
}

TEST_F(Files, keep_what_they_held_when_writing_fails) {
  put(path("old.csv"), "old");
  const OutputFile file(path("old.csv"));
  EXPECT_THROW(file.write([](std::ostream& out) {
    out << "half";
    throw std::runtime_error("no more");
  }),
               std::runtime_error);
  EXPECT_THROW(file.write([](std::ostream& out) { out.setstate(std::ios::badbit); }), Failure);
  EXPECT_EQ(text_of(path("old.csv")), "old");
  EXPECT_EQ(names().size(), 1u);
}

TEST_F(Files, keep_their_permissions_and_the_links_to_them) {
  put(path("real.csv"), "old");
  fs::permissions(path("real.csv"), fs::perms::owner_read | fs::perms::owner_write);
  fs::create_symlink("real.csv", path("link.csv"));
  OutputFile(path("link.csv")).write([](std::ostream& out) { out << "new"; });
  EXPECT_TRUE(fs::is_symlink(path("link.csv")));
  EXPECT_EQ(text_of(path("real.csv")), "new");
  EXPECT_EQ(fs::status(path("real.csv")).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(Files, that_cannot_be_written_are_refused_at_once) {
  mkfifo(path("pipe").c_str(), 0600);
  for (const std::string& name :
       {path("no/such/folder.csv"), folder_.string(), path("pipe"), std::string("/dev/null"), path("pipe/below.csv")}) {
    EXPECT_THROW(OutputFile{name}, Failure) << name;
  }
  EXPECT_EQ(names(), std::vector<std::string>{"pipe"});
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

TEST(PointFiles, have_columns_that_name_their_units_and_values_in_full) {
  const struct {
    Kind kind;
    bool extended;
    const char* text;
  } cases[] = {
      {Kind::kStationary, false,
       "index,time_s,x_mm,y_mm,z_mm,std_x_mm,std_y_mm,std_z_mm,std_total_mm,temperature_c,pressure_mbar,"
       "humidity_percent\n1,1.5,2000.0145095383623,-0.1,1e-07,0.01,0.02,0.03,0.04,20.5,1013.25,\n"},
      {Kind::kStream, false,
       "index,time_s,x_mm,y_mm,z_mm,temperature_c,pressure_mbar,humidity_percent,status\n"
       "1,1.5,2000.0145095383623,-0.1,1e-07,20.5,1013.25,,2\n"},
      {Kind::kStream, true,
       "index,time_s,x_mm,y_mm,z_mm,std_x_mm,std_y_mm,std_z_mm,std_total_mm,cov_xy_mm2,cov_xz_mm2,cov_yz_mm2,"
       "temperature_c,pressure_mbar,humidity_percent,status\n"
       "1,1.5,2000.0145095383623,-0.1,1e-07,0.01,0.02,0.03,0.04,1e-06,-2e-06,3e-06,20.5,1013.25,,2\n"},
  };
  for (const auto& one : cases) {
    std::ostringstream text;
    write_csv(text, full_measurement(one.kind, one.extended));
    EXPECT_EQ(text.str(), one.text);
  }
}

TEST(PointFiles, of_a_centre_have_no_time_and_of_the_probe_its_attitude) {
  std::ostringstream centre;
  write_csv(centre, full_measurement(Kind::kCentre, false));
  EXPECT_EQ(centre.str().find("time_s"), std::string::npos);
  EXPECT_NE(centre.str().find("z_mm,std_x_mm"), std::string::npos);

  auto probe = full_measurement(Kind::kStream, true);
  probe.attitudes = {{{1, 0.5, 0, 0}, {10, 20, -30}, {0.1, 0.2, 0.3}, 0.4, 6, 1}};
  std::ostringstream csv, json;
  write_csv(csv, probe);
  EXPECT_NE(csv.str().find(",1,0.5,0,0,10,20,-30,0.1,0.2,0.3,0.4,6,1,20.5,"), std::string::npos) << csv.str();
  write_json_lines(json, probe);
  const auto line = nlohmann::json::parse(json.str());
  EXPECT_EQ(line["quaternion_1"], 0.5);
  EXPECT_EQ(line["rotation_z_deg"], -30);
  EXPECT_EQ(line["std_rotation_total_deg"], 0.4);
  EXPECT_TRUE(line["trigger"].is_number_integer());
}

TEST(PointFiles, hold_the_same_as_json_with_one_object_a_line) {
  auto measurement = full_measurement(Kind::kStream, true);
  measurement.points.push_back(point_at(1, 2, 3));
  std::stringstream text;
  write_json_lines(text, measurement);
  std::string line;
  ASSERT_TRUE(std::getline(text, line));
  const auto first = nlohmann::json::parse(line);
  EXPECT_EQ(first.size(), 16u);
  EXPECT_EQ(first["index"], 1);
  EXPECT_EQ(first["x_mm"], 2000.0145095383623);
  EXPECT_EQ(first["status"], 2);
  EXPECT_TRUE(first["humidity_percent"].is_null());
  ASSERT_TRUE(std::getline(text, line));
  EXPECT_EQ(nlohmann::json::parse(line)["z_mm"], 3);
  EXPECT_FALSE(std::getline(text, line));
}

}  // namespace
}  // namespace kestrine::cli
