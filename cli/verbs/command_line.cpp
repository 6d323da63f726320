#include "cli/verbs/command_line.h"

#include "cli/common/format.h"
#include "cli/common/units.h"

namespace kestrine::cli {
namespace {

constexpr std::size_t kColumn = 28;

// An option's line shows its type and its default; ranges, and which options exclude which, are left to error messages.
class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter() { column_width(kColumn); }

  std::string make_option_opts(const CLI::Option* option) const override {
    if (option->get_type_size() == 0) return {};
    const std::string type = option->get_type_name();  // followed by its checks, after a colon
    return " " + type.substr(0, type.find(':'));
  }

  std::string make_option_desc(const CLI::Option* option) const override {
    const std::string value = option->get_type_size() == 0 ? "" : option->get_default_str();
    return option->get_description() + (value.empty() ? "" : " (default: " + value + ")");
  }
};

std::string check_host(const std::string& host) {
  return host.empty() ? "is empty" : "";
}

}  // namespace

CLI::Validator number_between(double low, double high) {
  const auto complaint = [=](const std::string& text) -> std::string {
    double value = 0;
    if (CLI::detail::lexical_cast(text, value) && value >= low && value <= high) return {};
    return "Value " + text + " not in range " + shortest(low) + " to " + shortest(high);
  };
  return {complaint, ""};
}

void add_tracker_options(CLI::App& command, CommonOptions& options) {
  command.option_defaults()->group("Tracker");
  auto* host =
      command.add_option("--host", options.server.host, "The tracker's server: its name, or an IPv4 or IPv6 address");
  host->check(CLI::Validator(check_host, ""))->type_name("HOST");
  auto* port = command.add_option("--port", options.server.port, "The server's port");
  port->check(CLI::Range(1, 65535))->type_name("PORT")->needs(host);
  host->needs(port);
  auto* simulate = command.add_flag("--simulate", options.simulate, "Measure with a simulated tracker instead");
  simulate->excludes(host);
  command.add_option("--seed", options.seed, "Seed of the simulated noise; the same one gives the same points")
      ->type_name("N")
      ->capture_default_str()
      ->needs(simulate);
  command.add_option("--speed", options.speed, "How many times faster than a real tracker the simulated one is")
      ->type_name("X")
      ->capture_default_str()
      ->check(number_between(0.1, 1000))
      ->needs(simulate);
  command.option_defaults()->group("Measurement");
}

CLI::Option* add_unit_options(CLI::App& command, CommonOptions& options) {
  command.add_option("--length-unit", options.length_unit, "Unit of all lengths: mm, m, um, in, ft or yd")
      ->type_name("UNIT")
      ->default_val("mm")
      ->check(CLI::IsMember(length_unit_names()));
  return command.add_flag("--extended", options.extended, "Also covariances, and in a stream deviations");
}

void add_output_options(CLI::App& command, CommonOptions& options) {
  command.option_defaults()->group("Output");
  const auto add_file = [&](const char* name, std::string& file, const char* purpose) {
    command.add_option(name, file, purpose)
        ->check([](const std::string& text) { return text.empty() ? std::string("names no file") : std::string(); })
        ->type_name("FILE");
  };
  add_file("--csv", options.csv_file, "Write the points as CSV");
  add_file("--json", options.json_file, "Write the points as JSON, one object a line");
  add_file("--svg", options.svg_file, "Draw the points: top view, and what happens over time");
  command.add_flag("-q,--quiet", options.quiet, "Print nothing but errors");
}

void check_common_options(const CommonOptions& options) {
  if (!options.simulate && options.server.host.empty()) throw CLI::RequiredError("--host with --port, or --simulate,");
}

std::shared_ptr<CLI::FormatterBase> help_formatter() {
  return std::make_shared<HelpFormatter>();
}

}  // namespace kestrine::cli
