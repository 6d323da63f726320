// The command line tool.
#include <CLI/CLI.hpp>
#include <iostream>
#include <string>

#include "cli/common/failure.h"
#include "cli/common/terminal.h"
#include "cli/verbs/command_line.h"
#include "cli/verbs/verbs.h"

namespace {

using namespace kestrine::cli;

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;
constexpr int kStopped = 130;

int fail(const std::string& text, int status) {
  terminal::print_error(text);
  return status;
}

int status_of(const Command& command) {
  try {
    return command() == Outcome::kStopped ? kStopped : 0;
  } catch (const Stopped&) {
    return kStopped;
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
  Command chosen;
  add_measure(application, chosen);
  add_stream(application, chosen);
  add_registration(application, chosen);
  try {
    application.parse(argc, argv);
  } catch (const CLI::Success& wish) {
    return application.exit(wish);
  } catch (const CLI::ParseError& error) {
    const auto named = application.get_subcommands();
    const std::string command = named.empty() ? "" : " " + named.front()->get_name();
    return fail(std::string(error.what()) + " (see kestrine" + command + " --help)", kWrongUsage);
  }
  return status_of(chosen);
}
