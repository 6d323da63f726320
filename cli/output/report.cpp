#include "cli/output/report.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <ostream>
#include <string>

#include "cli/common/format.h"
#include "cli/drawing/figure.h"

namespace kestrine::cli {
namespace {

constexpr std::size_t kIndexWidth = 8;
constexpr std::size_t kPositionWidth = 16;
constexpr std::size_t kDeviationWidth = 10;

// Widths are counted in characters, of which some take two bytes.
std::string right_aligned(const std::string& text, std::size_t width) {
  const auto characters = static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
  return std::string(width > characters ? width - characters : 0, ' ') + text;
}

std::string position_cells(const LengthUnit& unit, const Vector& position) {
  std::string cells;
  for (const double value : position) cells += right_aligned(fixed(value, unit.decimals), kPositionWidth);
  return cells;
}

std::string deviation_cell(const LengthUnit& unit, double value) {
  return right_aligned(unit.fine_number(value), kDeviationWidth);
}

std::string rule() {
  std::string line;
  for (std::size_t i = 0; i < kIndexWidth + 3 * kPositionWidth + 4 * kDeviationWidth; ++i) line += "─";
  return line;
}

void print_line(std::ostream& out, const std::string& name, const std::string& text) {
  out << std::left << std::setw(10) << name << text << '\n';
}

void print_attitudes(std::ostream& out, const Totals& totals) {
  std::string angles;
  for (std::size_t i = 0; i < 3; ++i) {
    angles += (i > 0 ? ", " : "") + std::string(kAxisNames[i]) + " " + fixed(totals.low_angles()[i], 3) + "° to " +
              fixed(totals.high_angles()[i], 3) + "°";
  }
  print_line(out, "rotation", angles);
  print_line(out, "button", "pressed at " + std::to_string(totals.pressed()) + " points");
}

}  // namespace

void print_tracker(std::ostream& out, const Tracker& tracker, const LengthUnit& unit) {
  print_line(out, "tracker", tracker.name + ", serial number " + std::to_string(tracker.serial_number));
  print_line(out, "server", tracker.software);
  const auto rounded = [&](double length) {
    return shortest(std::round(length * 1000) / 1000) + " " + std::string(unit.name);
  };
  print_line(out, "range",
             rounded(tracker.min_distance) + " to " + rounded(tracker.max_distance) + ", up to " +
                 std::to_string(tracker.max_rate) + " points/s");
  out << std::endl;
}

void print_table_head(std::ostream& out, const LengthUnit& unit) {
  const std::string position_unit = " [" + std::string(unit.name) + "]";
  const std::string deviation_unit = " [" + std::string(unit.fine_name) + "]";
  out << right_aligned("point", kIndexWidth);
  for (const char* axis : kAxisNames) out << right_aligned(axis + position_unit, kPositionWidth);
  for (const char* axis : kAxisNames) out << right_aligned("σ" + std::string(axis) + deviation_unit, kDeviationWidth);
  out << right_aligned("σ" + deviation_unit, kDeviationWidth) << '\n' << rule() << std::endl;
}

void print_table_row(std::ostream& out, const LengthUnit& unit, const std::string& name, const Point& point) {
  out << right_aligned(name, kIndexWidth) << position_cells(unit, point.position);
  for (const double value : point.deviation) out << deviation_cell(unit, value);
  out << deviation_cell(unit, point.deviation_total) << std::endl;
}

void print_table_foot(std::ostream& out, const Measurement& measurement) {
  if (measurement.count() == 0) return;
  const auto& unit = *measurement.unit;
  const Summary summary = measurement.totals.summary();
  out << rule() << '\n';
  out << right_aligned("mean", kIndexWidth) << position_cells(unit, summary.mean) << '\n';
  if (summary.count > 1) {
    out << right_aligned("spread", kIndexWidth);
    for (const double value : summary.spread) out << right_aligned(unit.deviation_text(value), kPositionWidth);
    out << '\n';
  }
  out << std::flush;
}

void print_centre(std::ostream& out, const Measurement& measurement) {
  print_table_head(out, *measurement.unit);
  print_table_row(out, *measurement.unit, "centre", measurement.last);
  out << '\n';
  print_line(out, "centre", "of a " + measurement.manner);
}

void print_completeness(std::ostream& out, const Measurement& measurement, const Completeness& completeness) {
  const Reception& reception = completeness.reception;
  const auto list = [&](const std::string& name, const std::vector<std::string>& things) {
    for (const auto& thing : things) print_line(out, &thing == &things.front() ? name : "", thing);
  };
  std::string received = reception.packets == 0 ? "nothing" : counted(reception.packets, "packet");
  if (reception.points > 0) received += ", " + counted(reception.points, "point");
  if (reception.packets > 0 && measurement.kind == Kind::kCentre) received += ", the centre";
  const std::size_t kept = measurement.count();
  if (reception.points > kept) received += " (" + std::to_string(reception.points - kept) + " after the end)";
  if (reception.bytes > 0) received += ", " + std::to_string(reception.bytes) + " bytes";
  print_line(out, "received", received);
  if (completeness.missing.empty()) print_line(out, "missing", completeness.verdict);
  list("MISSING", completeness.missing);
  list("checked", completeness.checked);
  out << std::flush;
}

void print_stream_summary(std::ostream& out, const Measurement& measurement) {
  const auto& unit = *measurement.unit;
  const Figure figure = figure_of(measurement);
  const auto& summary = figure.summary;
  print_line(out, "points",
             std::to_string(summary.count) + " in " + fixed(summary.seconds, 3) + " s, " + fixed(summary.rate, 1) +
                 " points/s");
  for (std::size_t i = 0; i < 3; ++i) {
    print_line(out, kAxisNames[i], unit.position_text(summary.low[i]) + " to " + unit.position_text(summary.high[i]));
  }
  if (const auto& circle = figure.circle) {
    print_line(out, "circle",
               "centre " + unit.position_text(circle->x) + ", " + unit.position_text(circle->y) + ", radius " +
                   unit.position_text(circle->radius));
    print_line(out, "deviation", unit.deviation_text(circle->rms) + " rms from the circle in X and Y");
  } else {
    print_line(out, "deviation", unit.deviation_text(summary.rms_distance) + " rms from the mean");
  }
  if (measurement.sample.stride > 1)
    print_line(out, "drawn", measurement.thinned_text() + (figure.circle ? ", the circle is theirs" : ""));
  if (measurement.attitudes) print_attitudes(out, measurement.totals);
  const std::size_t doubtful = measurement.totals.doubtful();
  if (doubtful > 0) print_line(out, "doubtful", std::to_string(doubtful) + " points with a warning of the tracker");
  out << std::flush;
}

}  // namespace kestrine::cli
