#include "cli/output/point_files.h"

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <type_traits>
#include <vector>

#include "cli/common/format.h"

namespace kestrine::cli {
namespace {

using Names = std::vector<std::string>;

struct Row {
  const Point& point;
  const Attitude& attitude;
};

struct Column {
  std::string name;
  std::function<double(const Row&)> value;
  bool whole;  // an integer
};

Names of_axes(const std::string& before, const std::string& after) {
  return {before + "x" + after, before + "y" + after, before + "z" + after};
}

// A column for each name: of the member, or of each element of one that is an array.
template <class Item, class Value>
void add(std::vector<Column>& columns, Value Item::*member, const Names& names) {
  for (std::size_t i = 0; i < names.size(); ++i) {
    const auto value = [=](const Row& row) -> double {
      const auto& found = [&]() -> const Value& {
        if constexpr (std::is_same_v<Item, Point>)
          return row.point.*member;
        else
          return row.attitude.*member;
      }();
      if constexpr (std::is_arithmetic_v<Value>) {
        return found;
      } else {
        return found[i];
      }
    };
    columns.push_back({names[i], value, std::is_integral_v<Value>});
  }
}

std::vector<Column> columns_of(const Measurement& measurement) {
  const std::string unit = std::string("_").append(measurement.unit->name);
  const bool stream = measurement.kind == Kind::kStream;
  std::vector<Column> columns;
  if (measurement.kind != Kind::kCentre) add(columns, &Point::seconds, {"time_s"});
  add(columns, &Point::position, of_axes("", unit));
  if (!stream || measurement.extended) {
    add(columns, &Point::deviation, of_axes("std_", unit));
    add(columns, &Point::deviation_total, {"std_total" + unit});
  }
  if (measurement.extended) {
    const std::string squared = unit + "2";
    add(columns, &Point::covariance, {"cov_xy" + squared, "cov_xz" + squared, "cov_yz" + squared});
  }
  if (measurement.attitudes) {
    add(columns, &Attitude::quaternion, {"quaternion_0", "quaternion_1", "quaternion_2", "quaternion_3"});
    add(columns, &Attitude::angles, of_axes("rotation_", "_deg"));
    add(columns, &Attitude::deviation, of_axes("std_rotation_", "_deg"));
    add(columns, &Attitude::deviation_total, {"std_rotation_total_deg"});
    add(columns, &Attitude::rotation_status, {"rotation_status"});
    add(columns, &Attitude::trigger, {"trigger"});
  }
  add(columns, &Point::temperature, {"temperature_c"});
  add(columns, &Point::pressure, {"pressure_mbar"});
  add(columns, &Point::humidity, {"humidity_percent"});
  if (stream) add(columns, &Point::status, {"status"});
  return columns;
}

// Calls `write` with the index and the row of each.
void for_each_row(std::size_t index, std::span<const Point> points, std::span<const Attitude> attitudes,
                  const auto& write) {
  static const Attitude none;
  for (std::size_t i = 0; i < points.size(); ++i) {
    write(index + i + 1, Row{points[i], attitudes.empty() ? none : attitudes[i]});
  }
}

}  // namespace

std::string csv_rows(const Measurement& measurement, std::size_t index, std::span<const Point> points,
                     std::span<const Attitude> attitudes) {
  const auto columns = columns_of(measurement);
  std::string text;
  if (index == 0) {
    text += "index";
    for (const auto& column : columns) text += ',' + column.name;
    text += '\n';
  }
  for_each_row(index, points, attitudes, [&](std::size_t number, const Row& row) {
    text += std::to_string(number);
    for (const auto& column : columns) text += ',' + shortest(column.value(row));
    text += '\n';
  });
  return text;
}

std::string json_rows(const Measurement& measurement, std::size_t index, std::span<const Point> points,
                      std::span<const Attitude> attitudes) {
  const auto columns = columns_of(measurement);
  std::string text;
  for_each_row(index, points, attitudes, [&](std::size_t number, const Row& row) {
    nlohmann::ordered_json line{{"index", number}};
    for (const auto& column : columns) {
      const double value = column.value(row);
      auto& field = line[column.name];
      if (column.whole) {
        field = static_cast<std::int32_t>(value);
      } else {
        field = value;
      }
    }
    text += line.dump() + '\n';
  });
  return text;
}

}  // namespace kestrine::cli
