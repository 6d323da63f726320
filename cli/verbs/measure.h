// `kestrine measure`: a series of stationary points, each measured by a call that waits for its result.
#pragma once

#include <CLI/CLI.hpp>
#include <cstddef>
#include <cstdint>

#include "cli/common/options.h"
#include "cli/verbs/run.h"

namespace kestrine::cli {

struct MeasureOptions {
  CommonOptions common;
  std::size_t points = 10;
  std::int32_t measure_time = 0;  // milliseconds for each point
};

// Adds the subcommand; parsing fills the options, which must outlive the application.
CLI::App* add_measure_command(CLI::App& application, MeasureOptions& options);

// As run() does.
Outcome measure(const MeasureOptions& options);

}  // namespace kestrine::cli
