// The command line tool.
#include <CLI/CLI.hpp>
#include <iostream>
#include <string>

#include "cli/common/failure.h"
#include "cli/common/terminal.h"
#include "cli/verbs/command_line.h"
#include "cli/verbs/measure.h"
#include "cli/verbs/registration.h"
#include "cli/verbs/stream.h"

namespace {

using namespace kestrine::cli;

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;
constexpr int kStopped = 130;

int fail(const std::string& text, int status) {
  terminal::print_error(text);
  return status;
}

int status_of(const auto& command) {
  try {
    return command() == Outcome::kStopped ? kStopped : 0;
  } catch (const kestrine::Error& error) {
    return fail(text_of(error), kFailed);
  } catch (const std::exception& error) {
    return fail(error.what(), kFailed);
  }
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App application("Measures with a laser tracker.", "kestrine");
  application.set_version_flag("--version", "kestrine " KESTRINE_VERSION);
  application.formatter(help_formatter());
  application.footer("\nkestrine COMMAND --help tells more.");
  application.require_subcommand(1);
  MeasureOptions measure_options;
  StreamOptions stream_options;
  RegistrationOptions registration;
  add_measure_command(application, measure_options);
  const CLI::App* const streams = add_stream_command(application, stream_options);
  add_registration_commands(application, registration);
  try {
    application.parse(argc, argv);
  } catch (const CLI::Success& wish) {
    return application.exit(wish);
  } catch (const CLI::ParseError& error) {
    const auto named = application.get_subcommands();
    const std::string command = named.empty() ? "" : " " + named.front()->get_name();
    return fail(std::string(error.what()) + " (see kestrine" + command + " --help)", kWrongUsage);
  }
  if (registration.action != RegistrationOptions::Action::kNone) {
    return status_of([&] {
      run(registration, std::cout);
      return Outcome::kComplete;
    });
  }
  if (streams->parsed()) return status_of([&] { return stream(stream_options); });
  return status_of([&] { return measure(measure_options); });
}
