// The part of the command line that all measuring commands share, and how help looks.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>

#include "cli/common/options.h"

namespace kestrine::cli {

// Parsing fills the options, which must outlive the command. What is added after those of the tracker is listed with
// the measurement, what is added last with the output.
void add_tracker_options(CLI::App& command, CommonOptions& options);
// Returns the flag for covariances and deviations.
CLI::Option* add_unit_options(CLI::App& command, CommonOptions& options);
void add_output_options(CLI::App& command, CommonOptions& options);
// Of what depends on more than one option: that there is a tracker.
void check_common_options(const CommonOptions& options);

// Unlike the range of CLI11, this one does not let "nan" through.
CLI::Validator number_between(double low, double high);

std::shared_ptr<CLI::FormatterBase> help_formatter();

}  // namespace kestrine::cli
