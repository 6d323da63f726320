#include "cli/measure_command.h"

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
    "Ctrl-C stops a measurement; what was measured until then is kept.\n"
    "Exit status: 0 done, 1 failed, 2 wrong usage, 130 stopped by Ctrl-C.";

}  // namespace

CLI::App* add_measure_command(CLI::App& application, MeasureOptions& options) {
  auto* command = application.add_subcommand("measure", kDescription);
  command->footer(kFooter);
  add_tracker_options(*command, options.common);
  command->add_option("--points", options.points, "How many points")
      ->capture_default_str()
      ->type_name("N")
      ->check(CLI::Range(1, kMostPoints))
      ->group(kMeasurementGroup);
  command->add_option("--measure-time", options.measure_time, "Milliseconds for each point")
      ->default_val(500)
      ->type_name("MS")
      ->check(CLI::Range(1, kLongestMeasureTime))
      ->group(kMeasurementGroup);
  add_unit_options(*command, options.common);
  add_output_options(*command, options.common);
  command->final_callback([&options] { check_common_options(options.common); });
  return command;
}

}  // namespace kestrine::cli
