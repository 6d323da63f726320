// The command line of `kestrine stream`.
#pragma once

#include <CLI/CLI.hpp>

#include "cli/stream.h"

namespace kestrine::cli {

// Adds the subcommand; parsing fills the options, which must outlive the application.
CLI::App* add_stream_command(CLI::App& application, StreamOptions& options);

}  // namespace kestrine::cli
