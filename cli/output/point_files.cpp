#include "cli/output/point_files.h"

#include <functional>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

#include "cli/common/format.h"

namespace kestrine::cli {
namespace {

using Row = std::size_t;  // counts from 0
using Names = std::vector<std::string>;

struct Column {
  std::string name;
  std::function<double(Row)> value;
  bool whole;  // an integer
};

Names of_axes(const std::string& before, const std::string& after) {
  return {before + "x" + after, before + "y" + after, before + "z" + after};
}

// A column for each name: of the member, or of each element of one that is an array.
template <class Item, class Value>
void add(std::vector<Column>& columns, const std::vector<Item>& items, Value Item::*member, const Names& names) {
  for (std::size_t i = 0; i < names.size(); ++i) {
    const auto value = [=, &items](Row row) -> double {
      if constexpr (std::is_arithmetic_v<Value>) {
        return items[row].*member;
      } else {
        return (items[row].*member)[i];
      }
    };
    columns.push_back({names[i], value, std::is_integral_v<Value>});
  }
}

std::vector<Column> columns_of(const Measurement& measurement) {
  const auto& points = measurement.points;
  const auto& attitudes = measurement.attitudes;
  const std::string unit = std::string("_").append(measurement.unit->name);
  const bool stream = measurement.kind == Kind::kStream;
  std::vector<Column> columns;
  if (measurement.kind != Kind::kCentre) add(columns, points, &Point::seconds, {"time_s"});
  add(columns, points, &Point::position, of_axes("", unit));
  if (!stream || measurement.extended) {
    add(columns, points, &Point::deviation, of_axes("std_", unit));
    add(columns, points, &Point::deviation_total, {"std_total" + unit});
  }
  if (measurement.extended) {
    const std::string squared = unit + "2";
    add(columns, points, &Point::covariance, {"cov_xy" + squared, "cov_xz" + squared, "cov_yz" + squared});
  }
  if (!attitudes.empty()) {
    add(columns, attitudes, &Attitude::quaternion, {"quaternion_0", "quaternion_1", "quaternion_2", "quaternion_3"});
    add(columns, attitudes, &Attitude::angles, of_axes("rotation_", "_deg"));
    add(columns, attitudes, &Attitude::deviation, of_axes("std_rotation_", "_deg"));
    add(columns, attitudes, &Attitude::deviation_total, {"std_rotation_total_deg"});
    add(columns, attitudes, &Attitude::rotation_status, {"rotation_status"});
    add(columns, attitudes, &Attitude::trigger, {"trigger"});
  }
  add(columns, points, &Point::temperature, {"temperature_c"});
  add(columns, points, &Point::pressure, {"pressure_mbar"});
  add(columns, points, &Point::humidity, {"humidity_percent"});
  if (stream) add(columns, points, &Point::status, {"status"});
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
    for (const auto& column : columns) out << ',' << shortest(column.value(row));
    out << '\n';
  }
}

void write_json_lines(std::ostream& out, const Measurement& measurement) {
  const auto columns = columns_of(measurement);
  for (Row row = 0; row < measurement.points.size(); ++row) {
    nlohmann::ordered_json line{{"index", row + 1}};
    for (const auto& column : columns) {
      const double value = column.value(row);
      auto& field = line[column.name];
      if (column.whole) {
        field = static_cast<std::int32_t>(value);
      } else {
        field = value;
      }
    }
    out << line.dump() << '\n';
  }
}

}  // namespace kestrine::cli
