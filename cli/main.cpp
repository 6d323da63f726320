// The command line tool.
#include <CLI/CLI.hpp>
#include <iostream>
#include <string>

#include "cli/help.h"
#include "cli/measure_command.h"
#include "kestrine/error.h"

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

int run(const MeasureOptions& options) {
  try {
    return measure(options) == Outcome::kStopped ? kStopped : 0;
  } catch (const kestrine::Error& error) {
    return tell(std::string(error.what()) + " (error " + std::to_string(error.number()) + ")", kFailed);
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
  MeasureOptions options;
  add_measure_command(application, options);
  try {
    application.parse(argc, argv);
  } catch (const CLI::Success& wish) {
    return application.exit(wish);
  } catch (const CLI::ParseError& error) {
    return tell(std::string(error.what()) + " (see kestrine measure --help)", kWrongUsage);
  }
  return run(options);
}
