#include "cli/point_files.h"

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "cli/format.h"

namespace kestrine::cli {
namespace {

using Row = std::size_t;  // counts from 0

struct Column {
  std::string name;
  double (*value)(const Measurement&, Row);
  bool whole = false;  // an integer
};

template <auto Member>
double of_point(const Measurement& measurement, Row row) {
  return measurement.points[row].*Member;
}
template <auto Member, std::size_t Index>
double of_point(const Measurement& measurement, Row row) {
  return (measurement.points[row].*Member)[Index];
}
template <auto Member>
double of_attitude(const Measurement& measurement, Row row) {
  return measurement.attitudes[row].*Member;
}
template <auto Member, std::size_t Index>
double of_attitude(const Measurement& measurement, Row row) {
  return (measurement.attitudes[row].*Member)[Index];
}

void add_attitude(std::vector<Column>& columns) {
  const Column more[] = {
      {"quaternion_0", of_attitude<&Attitude::quaternion, 0>},
      {"quaternion_1", of_attitude<&Attitude::quaternion, 1>},
      {"quaternion_2", of_attitude<&Attitude::quaternion, 2>},
      {"quaternion_3", of_attitude<&Attitude::quaternion, 3>},
      {"rotation_x_deg", of_attitude<&Attitude::angles, 0>},
      {"rotation_y_deg", of_attitude<&Attitude::angles, 1>},
      {"rotation_z_deg", of_attitude<&Attitude::angles, 2>},
      {"std_rotation_x_deg", of_attitude<&Attitude::deviation, 0>},
      {"std_rotation_y_deg", of_attitude<&Attitude::deviation, 1>},
      {"std_rotation_z_deg", of_attitude<&Attitude::deviation, 2>},
      {"std_rotation_total_deg", of_attitude<&Attitude::deviation_total>},
      {"rotation_status", of_attitude<&Attitude::rotation_status>, true},
      {"trigger", of_attitude<&Attitude::trigger>, true},
  };
  columns.insert(columns.end(), std::begin(more), std::end(more));
}

std::vector<Column> columns_of(const Measurement& measurement) {
  const std::string unit = std::string("_").append(measurement.unit->name);
  const bool stream = measurement.kind == Kind::kStream;
  std::vector<Column> columns;
  if (measurement.kind != Kind::kCentre) columns.push_back({"time_s", of_point<&Point::seconds>});
  columns.push_back({"x" + unit, of_point<&Point::position, 0>});
  columns.push_back({"y" + unit, of_point<&Point::position, 1>});
  columns.push_back({"z" + unit, of_point<&Point::position, 2>});
  if (!stream || measurement.extended) {
    columns.push_back({"std_x" + unit, of_point<&Point::deviation, 0>});
    columns.push_back({"std_y" + unit, of_point<&Point::deviation, 1>});
    columns.push_back({"std_z" + unit, of_point<&Point::deviation, 2>});
    columns.push_back({"std_total" + unit, of_point<&Point::deviation_total>});
  }
  if (measurement.extended) {
    columns.push_back({"cov_xy" + unit + "2", of_point<&Point::covariance, 0>});
    columns.push_back({"cov_xz" + unit + "2", of_point<&Point::covariance, 1>});
    columns.push_back({"cov_yz" + unit + "2", of_point<&Point::covariance, 2>});
  }
  if (!measurement.attitudes.empty()) add_attitude(columns);
  columns.push_back({"temperature_c", of_point<&Point::temperature>});
  columns.push_back({"pressure_mbar", of_point<&Point::pressure>});
  columns.push_back({"humidity_percent", of_point<&Point::humidity>});
  if (stream) columns.push_back({"status", of_point<&Point::status>, true});
  return columns;
}

}  // namespace

void write_csv(std::ostream& out, const Measurement& measurement) {
  const auto columns = columns_of(measurement);
  out << "index";
  for (const auto& column : columns) out << ',' << column.name;
  out << '\n';
  for (Row row = 0; row < measurement.points.size(); ++row) {
    out << row + 1;
    for (const auto& column : columns) out << ',' << shortest(column.value(measurement, row));
    out << '\n';
  }
}

void write_json_lines(std::ostream& out, const Measurement& measurement) {
  const auto columns = columns_of(measurement);
  for (Row row = 0; row < measurement.points.size(); ++row) {
    nlohmann::ordered_json line{{"index", row + 1}};
    for (const auto& column : columns) {
      const double value = column.value(measurement, row);
      if (column.whole) {
        line[column.name] = static_cast<std::int32_t>(value);
      } else {
        line[column.name] = value;
      }
    }
    out << line.dump() << '\n';
  }
}

}  // namespace kestrine::cli
