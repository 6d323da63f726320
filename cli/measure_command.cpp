#include "cli/measure_command.h"

#include "cli/format.h"

namespace kestrine::cli {
namespace {

constexpr int kMostPoints = 1'000'000;
constexpr int kMostStreamed = 10'000'000;
constexpr double kLongestSeconds = 86'400;
constexpr double kDefaultSeconds = 5;
constexpr int kLongestMeasureTime = 100'000;    // milliseconds; what a tracker takes at most
constexpr int kLongestTimeSeparation = 99'999;  // milliseconds; likewise

constexpr const char* kDescription = "Connect to a tracker, measure, and show and save what was measured.";

constexpr const char* kFooter =
    "\nWithout --stream, a series of stationary points is measured; with it, a stream of points of a moving\n"
    "target, until its count or its duration is reached. Names of columns tell the units.\n\n"
    "Examples:\n"
    "  kestrine measure --simulate --points 5 --csv points.csv --svg points.svg\n"
    "  kestrine measure --host 192.168.0.1 --port 7000 --stream --duration 10 --json path.json\n\n"
    "Ctrl-C stops a measurement; what was measured until then is kept.\n"
    "Exit status: 0 done, 1 failed, 2 wrong usage, 130 stopped by Ctrl-C.";

// Names with dots never reach a name server: the library takes them for addresses.
std::string check_host(const std::string& host) {
  if (host.find('.') == std::string::npos) return host.empty() ? "is empty" : "";
  if (CLI::ValidIPV4(std::string(host)).empty()) return {};
  return host + " is no address; a name has no dots in it";
}

// Unlike the library's own range, this one does not let "nan" through.
CLI::Validator number_between(double low, double high) {
  const auto complaint = [=](const std::string& text) -> std::string {
    double value = 0;
    if (CLI::detail::lexical_cast(text, value) && value >= low && value <= high) return {};
    return "Value " + text + " not in range " + shortest(low) + " to " + shortest(high);
  };
  return {complaint, ""};
}

void add_connection(CLI::App& command, MeasureOptions& options) {
  auto* host =
      command.add_option("--host", options.host, "The tracker's server: a dotted address, or a name without dots")
          ->check(CLI::Validator(check_host, ""))
          ->type_name("HOST")
          ->group("Tracker");
  auto* port = command.add_option("--port", options.port, "The server's port")
                   ->type_name("PORT")
                   ->check(CLI::Range(1, 65535))
                   ->needs(host)
                   ->group("Tracker");
  host->needs(port);
  auto* simulate = command.add_flag("--simulate", options.simulate, "Measure with a simulated tracker instead")
                       ->excludes(host)
                       ->group("Tracker");
  command.add_option("--seed", options.seed, "Seed of the simulated noise; the same one gives the same points")
      ->type_name("N")
      ->capture_default_str()
      ->needs(simulate)
      ->group("Tracker");
  command.add_option("--speed", options.speed, "How many times faster than a real tracker the simulated one is")
      ->type_name("X")
      ->capture_default_str()
      ->check(number_between(0.1, 1000))
      ->needs(simulate)
      ->group("Tracker");
}

void add_measurement(CLI::App& command, MeasureOptions& options) {
  auto* stream = command.add_flag("--stream", options.stream, "Measure continuously")->group("Measurement");
  command.add_option("--points", options.points, "How many stationary points")
      ->capture_default_str()
      ->type_name("N")
      ->check(CLI::Range(1, kMostPoints))
      ->excludes(stream)
      ->group("Measurement");
  command.add_option("--measure-time", options.measure_time, "Milliseconds for each stationary point")
      ->default_val(500)
      ->type_name("MS")
      ->check(CLI::Range(1, kLongestMeasureTime))
      ->excludes(stream)
      ->group("Measurement");
  command.add_option("--count", options.count, "End the stream after that many points")
      ->type_name("N")
      ->check(CLI::Range(1, kMostStreamed))
      ->needs(stream)
      ->group("Measurement");
  command
      .add_option("--duration", options.duration,
                  "End the stream after that many seconds (default: 5, unless there is a count)")
      ->type_name("S")
      ->check(number_between(0.01, kLongestSeconds))
      ->needs(stream)
      ->group("Measurement");
  command.add_option("--time-separation", options.time_separation, "Milliseconds between streamed points")
      ->default_val(1)
      ->type_name("MS")
      ->check(CLI::Range(1, kLongestTimeSeparation))
      ->needs(stream)
      ->group("Measurement");
  command.add_option("--length-unit", options.length_unit, "Unit of all lengths: mm, m, um, in, ft or yd")
      ->type_name("UNIT")
      ->default_val("mm")
      ->check(CLI::IsMember(length_unit_names()))
      ->group("Measurement");
  command.add_flag("--extended", options.extended, "Also covariances, and in a stream deviations")
      ->group("Measurement");
}

void add_outputs(CLI::App& command, MeasureOptions& options) {
  const auto add_file = [&](const char* name, std::string& file, const char* purpose) {
    command.add_option(name, file, purpose)
        ->check([](const std::string& text) { return text.empty() ? std::string("names no file") : std::string(); })
        ->type_name("FILE")
        ->group("Output");
  };
  add_file("--csv", options.csv_file, "Write the points as CSV");
  add_file("--json", options.json_file, "Write the points as JSON, one object a line");
  add_file("--svg", options.svg_file, "Draw the points: top view, and deviation over time");
  command.add_flag("-q,--quiet", options.quiet, "Print nothing but errors")->group("Output");
}

// What depends on more than one option.
void complete(MeasureOptions& options) {
  if (!options.simulate && options.host.empty()) throw CLI::RequiredError("--host with --port, or --simulate,");
  if (options.stream && options.count == 0 && options.duration == 0) options.duration = kDefaultSeconds;
}

}  // namespace

CLI::App* add_measure_command(CLI::App& application, MeasureOptions& options) {
  auto* command = application.add_subcommand("measure", kDescription);
  command->footer(kFooter);
  add_connection(*command, options);
  add_measurement(*command, options);
  add_outputs(*command, options);
  command->final_callback([&options] { complete(options); });
  return command;
}

}  // namespace kestrine::cli
