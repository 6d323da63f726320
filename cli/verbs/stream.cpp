#include <array>
#include <cmath>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "cli/common/format.h"
#include "cli/common/units.h"
#include "cli/output/report.h"
#include "cli/streaming/stream.h"
#include "cli/verbs/command_line.h"
#include "cli/verbs/verbs.h"

namespace kestrine::cli {
namespace {

constexpr double kLongestSeconds = 86'400;
constexpr double kDefaultSeconds = 5;
constexpr std::size_t kDefaultCentrePoints = 100;
constexpr double kDefaultSeparation = 0.005;    // metres
constexpr double kCentreSeparation = 0.01;      // metres; the more of the shape is covered, the better
constexpr double kDefaultCell = 0.02;           // metres
constexpr int kLongestTimeSeparation = 99'999;  // milliseconds; what a tracker takes at most
constexpr double kFarthest = 1e9;               // in any unit; the tracker knows its own limits

constexpr const char* kDescription = "Measure points one after another while the target moves, and show and save them.";

constexpr const char* kFooter =
    "\nA stream has points at equal times, at equal distances along the way, or one for each cell of a grid that\n"
    "the target comes through; the two centres are single points, found from a target that is led over a sphere\n"
    "or around a circle. At the end it is told how much came, whether anything is missing, and what would not show:\n"
    "with --count every loss shows, without it only one that leaves a gap between the points.\n\n"
    "Examples:\n"
    "  kestrine stream --simulate --duration 5 --csv path.csv --svg path.svg\n"
    "  kestrine stream --simulate --mode grid --cell 20 20 20 --probe --svg grid.svg\n"
    "  kestrine stream --host 192.168.0.1 --port 7000 --mode sphere-center --count 200\n\n"
    "Rows are written as they come, and FILE may be - for standard output. Ctrl-C stops a measurement; what was\n"
    "measured until then is kept. A second one leaves at once.\n"
    "Exit status: 0 done, 1 failed or incomplete, 2 wrong usage, 130 stopped by Ctrl-C or another signal.";

// An option that not every mode has.
struct ModeOption {
  CLI::Option* option;
  bool (*is_for)(const StreamMode&);
};

// Checks and fills in what depends on more than one option.
void complete(StreamOptions& options, const std::string& mode, const CLI::Option& cell,
              const std::vector<ModeOption>& mode_options) {
  check_common_options(options.common);
  options.mode = &stream_mode(mode);
  for (const auto& each : mode_options) {
    if (each.option->count() == 0 || each.is_for(*options.mode)) continue;
    throw CLI::ValidationError(each.option->get_name(), "has no meaning with --mode " + mode);
  }
  const double metres = length_unit(options.common.length_unit).metres;
  // Rounded, for the conversion leaves digits that nobody would have typed.
  const auto in_unit = [&](double length) { return std::round(length / metres * 1e6) / 1e6; };
  if (options.separation == 0) {
    options.separation = in_unit(options.mode->is_centre ? kCentreSeparation : kDefaultSeparation);
  }
  if (cell.count() == 0) options.cell.fill(in_unit(kDefaultCell));
  if (options.cell == std::array{0.0, 0.0, 0.0}) throw CLI::ValidationError("--cell", "needs a side that is not 0");
  const auto fewest = static_cast<std::size_t>(options.mode->fewest_points);
  const auto most = static_cast<std::size_t>(options.mode->most_points);
  if (options.mode->is_centre && options.count == 0) options.count = kDefaultCentrePoints;
  if (options.count > 0 && (options.count < fewest || options.count > most)) {
    throw CLI::ValidationError("--count", "Value " + std::to_string(options.count) + " not in range " +
                                              std::to_string(fewest) + " to " + std::to_string(most));
  }
  if (options.count == 0 && options.duration == 0) options.duration = kDefaultSeconds;
}

// How the points are measured, for a subtitle.
std::string manner_of(const StreamOptions& options) {
  const std::string unit = " " + options.common.length_unit;
  std::string manner;
  if (options.mode->is_centre) {
    manner = options.mode->of_point == VL_MM_SphereCenter ? "sphere from points " : "circle from points ";
  }
  if (options.mode->spacing == Spacing::kTime) manner = std::to_string(options.time_separation) + " ms apart";
  if (options.mode->spacing == Spacing::kDistance) manner += shortest(options.separation) + unit + " apart";
  if (options.mode->spacing == Spacing::kCells) {
    const auto& [x, y, z] = options.cell;
    manner = "in cells of " + shortest(x) + " × " + shortest(y) + " × " + shortest(z) + unit;
  }
  return manner + (options.probe ? ", with the probe" : "");
}

Outcome stream(const StreamOptions& options) {
  std::optional<Completeness> completeness;  // since the stream was started
  const auto take = [&](const Endpoint& endpoint, std::ostream& out, Measurement& measurement, Record& record) {
    measurement.manner = manner_of(options);
    measurement.spaced = options.mode->spacing != Spacing::kTime;
    measurement.extended |= options.probe;
    measurement.attitudes = options.probe && !options.mode->is_centre;
    StreamSession session(endpoint, measurement, record);
    session.prepare();
    print_tracker(out, measurement.tracker, *measurement.unit);
    measure_stream(session, options, record, completeness);
  };
  const auto summarise = [&](std::ostream& out, const Measurement& measurement) {
    if (measurement.count() > 0) {
      options.mode->is_centre ? print_centre(out, measurement) : print_stream_summary(out, measurement);
    }
    if (completeness) print_completeness(out, measurement, *completeness);
  };
  return run(options.common, options.mode->is_centre ? Kind::kCentre : Kind::kStream, {take, summarise});
}

}  // namespace

void add_stream(CLI::App& application, Command& chosen) {
  const auto owned = std::make_shared<StreamOptions>();
  StreamOptions& options = *owned;
  auto* command = application.add_subcommand("stream", kDescription);
  command->footer(kFooter);
  add_tracker_options(*command, options.common);
  const auto add = [&](const char* name, auto& value, const char* purpose, const char* type) {
    return command->add_option(name, value, purpose)->type_name(type);
  };
  const auto mode = std::make_shared<std::string>();
  add("--mode", *mode, "time, distance, grid, sphere-center or circle-center", "MODE")
      ->default_val("time")
      ->check(CLI::IsMember(stream_mode_names()));
  auto* probe = command->add_flag("--probe", options.probe, "Measure the probe's tip, and how the probe is held");
  add("--count", options.count, "End after that many points (of a centre: 100)", "N")->check(CLI::Range(1, 10'000'000));
  add("--duration", options.duration, "End after that many seconds (default: 5, unless there is a count)", "S")
      ->check(number_between(0.01, kLongestSeconds));
  auto* cell =
      add("--cell", options.cell, "Sides of a cell; 0: that axis does not count (grid; default: 20 mm)", "X Y Z")
          ->check(number_between(0, kFarthest));
  const std::vector<ModeOption> mode_options{
      {add("--time-separation", options.time_separation, "Milliseconds between points (time)", "MS")
           ->default_val(1)
           ->check(CLI::Range(1, kLongestTimeSeparation)),
       [](const StreamMode& m) { return m.spacing == Spacing::kTime; }},
      {add("--separation", options.separation, "Way between points (distance; default: 5 mm; centers: 10 mm)", "LENGTH")
           ->check(number_between(1e-6, kFarthest)),
       [](const StreamMode& m) { return m.spacing == Spacing::kDistance; }},
      {cell, [](const StreamMode& m) { return m.spacing == Spacing::kCells; }},
      {add("--radius", options.radius, "Known radius of the sphere or circle (centers; default: it is found)", "LENGTH")
           ->check(number_between(1e-6, kFarthest)),
       [](const StreamMode& m) { return m.is_centre; }}};
  // The probe's results always have deviations and covariances.
  add_unit_options(*command, options.common)->excludes(probe);
  add_output_options(*command, options.common);
  command->final_callback([&chosen, owned, mode, cell, mode_options] {
    complete(*owned, *mode, *cell, mode_options);
    chosen = [owned] { return stream(*owned); };
  });
}

}  // namespace kestrine::cli
