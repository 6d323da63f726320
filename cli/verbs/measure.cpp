#include <cstdint>
#include <iostream>
#include <memory>
#include <string>

#include "cli/common/failure.h"
#include "cli/common/terminal.h"
#include "cli/output/progress.h"
#include "cli/output/report.h"
#include "cli/verbs/command_line.h"
#include "cli/verbs/stationary_session.h"
#include "cli/verbs/verbs.h"

namespace kestrine::cli {
namespace {

constexpr int kMostPoints = 1'000'000;
constexpr int kLongestMeasureTime = 100'000;  // milliseconds; what a tracker takes at most

constexpr const char* kDescription = "Measure a series of stationary points, and show and save them.";

constexpr const char* kFooter =
    "\nNames of columns tell the units.\n\n"
    "Examples:\n"
    "  kestrine measure --simulate --points 5 --csv points.csv --svg points.svg\n"
    "  kestrine measure --host 192.168.0.1 --port 7000 --length-unit in --json points.jsonl\n\n"
    "Rows are written as they come, and FILE may be - for standard output. Ctrl-C stops a measurement; what was\n"
    "measured until then is kept. A second one leaves at once.\n"
    "Exit status: 0 done, 1 failed, 2 wrong usage, 130 stopped by Ctrl-C or another signal.";

struct MeasureOptions {
  CommonOptions common;
  std::size_t points = 10;
  std::int32_t measure_time = 0;  // milliseconds for each point
};

void measure_series(StationarySession& session, const MeasureOptions& options, std::ostream& out,
                    Measurement& measurement, Record& record) {
  const bool extended = options.common.extended;
  session.prepare(*measurement.unit);
  measurement.tracker = session.identify();
  print_tracker(out, measurement.tracker, *measurement.unit);
  session.set_mode(options.measure_time, extended);
  print_table_head(out, *measurement.unit);
  const Stopwatch watch;
  Progress progress(std::cerr, !options.common.quiet && terminal::shows_progress(), {options.points, 0});
  while (measurement.count() < options.points && !terminal::stop_asked()) {
    progress.update(measurement.count(), watch.seconds());
    Point point = session.measure_point(extended);
    point.seconds = watch.seconds();
    progress.clear();
    record.add({&point, 1});
    print_table_row(out, *measurement.unit, std::to_string(measurement.count()), point);
  }
}

Outcome measure(const MeasureOptions& options) {
  const auto take = [&](const Endpoint& endpoint, std::ostream& out, Measurement& measurement, Record& record) {
    StationarySession session(endpoint);
    try {
      measure_series(session, options, out, measurement, record);
    } catch (const Error&) {
      session.throw_if_lost();
      if (terminal::stop_asked()) throw Stopped();
      throw;
    }
  };
  return run(options.common, Kind::kStationary, {take, print_table_foot});
}

}  // namespace

void add_measure(CLI::App& application, Command& chosen) {
  auto* command = application.add_subcommand("measure", kDescription);
  const auto options = std::make_shared<MeasureOptions>();
  command->footer(kFooter);
  add_tracker_options(*command, options->common);
  command->add_option("--points", options->points, "How many points")
      ->capture_default_str()
      ->type_name("N")
      ->check(CLI::Range(1, kMostPoints));
  command->add_option("--measure-time", options->measure_time, "Milliseconds for each point")
      ->default_val(500)
      ->type_name("MS")
      ->check(CLI::Range(1, kLongestMeasureTime));
  add_unit_options(*command, options->common);
  add_output_options(*command, options->common);
  command->final_callback([&chosen, options] {
    check_common_options(options->common);
    chosen = [options] { return measure(*options); };
  });
}

}  // namespace kestrine::cli
