#include "cli/point_files.h"

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "cli/format.h"

namespace kestrine::cli {
namespace {

struct Column {
  std::string name;
  double (*value)(const Point&);
};

std::vector<Column> columns_of(const Measurement& measurement) {
  const std::string unit = std::string("_").append(measurement.unit->name);
  std::vector<Column> columns{
      {"time_s", [](const Point& p) { return p.seconds; }},
      {"x" + unit, [](const Point& p) { return p.position[0]; }},
      {"y" + unit, [](const Point& p) { return p.position[1]; }},
      {"z" + unit, [](const Point& p) { return p.position[2]; }},
  };
  const bool stationary = measurement.kind == Kind::kStationary;
  if (stationary || measurement.extended) {
    columns.push_back({"std_x" + unit, [](const Point& p) { return p.deviation[0]; }});
    columns.push_back({"std_y" + unit, [](const Point& p) { return p.deviation[1]; }});
    columns.push_back({"std_z" + unit, [](const Point& p) { return p.deviation[2]; }});
    columns.push_back({"std_total" + unit, [](const Point& p) { return p.deviation_total; }});
  }
  if (measurement.extended) {
    columns.push_back({"cov_xy" + unit + "2", [](const Point& p) { return p.covariance[0]; }});
    columns.push_back({"cov_xz" + unit + "2", [](const Point& p) { return p.covariance[1]; }});
    columns.push_back({"cov_yz" + unit + "2", [](const Point& p) { return p.covariance[2]; }});
  }
  columns.push_back({"temperature_c", [](const Point& p) { return p.temperature; }});
  columns.push_back({"pressure_mbar", [](const Point& p) { return p.pressure; }});
  columns.push_back({"humidity_percent", [](const Point& p) { return p.humidity; }});
  return columns;
}

}  // namespace

void write_csv(std::ostream& out, const Measurement& measurement) {
  const auto columns = columns_of(measurement);
  const bool stream = measurement.kind == Kind::kStream;
  out << "index";
  for (const auto& column : columns) out << ',' << column.name;
  out << (stream ? ",status\n" : "\n");
  std::size_t index = 0;
  for (const auto& point : measurement.points) {
    out << ++index;
    for (const auto& column : columns) out << ',' << shortest(column.value(point));
    if (stream) out << ',' << point.status;
    out << '\n';
  }
}

void write_json_lines(std::ostream& out, const Measurement& measurement) {
  const auto columns = columns_of(measurement);
  std::size_t index = 0;
  for (const auto& point : measurement.points) {
    nlohmann::ordered_json line{{"index", ++index}};
    for (const auto& column : columns) line[column.name] = column.value(point);
    if (measurement.kind == Kind::kStream) line["status"] = point.status;
    out << line.dump() << '\n';
  }
}

}  // namespace kestrine::cli
