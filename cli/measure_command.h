// The command line of `kestrine measure`.
#pragma once

#include <CLI/CLI.hpp>

#include "cli/measure.h"

namespace kestrine::cli {

// Adds the subcommand; parsing fills the options, which must outlive the application.
CLI::App* add_measure_command(CLI::App& application, MeasureOptions& options);

}  // namespace kestrine::cli
