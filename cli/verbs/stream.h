// `kestrine stream`: a continuous measurement.
#pragma once

#include <CLI/CLI.hpp>

#include "cli/streaming/options.h"
#include "cli/verbs/run.h"

namespace kestrine::cli {

// Adds the subcommand; parsing fills the options, which must outlive the application.
CLI::App* add_stream_command(CLI::App& application, StreamOptions& options);

// As run() does; also throws Failure when it ran to its end and points are missing.
Outcome stream(const StreamOptions& options);

}  // namespace kestrine::cli
