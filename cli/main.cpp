// The command line tool.
#include <CLI/CLI.hpp>
#include <iostream>
#include <string>

#include "cli/failure.h"
#include "cli/help.h"
#include "cli/measure_command.h"
#include "cli/register_command.h"
#include "cli/stream_command.h"

namespace {

using namespace kestrine::cli;

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;
constexpr int kStopped = 130;

// One line, whatever the text holds.
int tell(std::string text, int status) {
  while (!text.empty() && std::string_view("\r\n ").find(text.back()) != std::string_view::npos) text.pop_back();
  for (char& c : text) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  std::cerr << "kestrine: " << text << std::endl;
  return status;
}

int status_of(const auto& command) {
  try {
    return command() == Outcome::kStopped ? kStopped : 0;
  } catch (const kestrine::Error& error) {
    return tell(told(error), kFailed);
  } catch (const std::exception& error) {
    return tell(error.what(), kFailed);
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
    return tell(std::string(error.what()) + " (see kestrine" + command + " --help)", kWrongUsage);
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
