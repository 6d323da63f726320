// The options that every measuring command has: which tracker, in which unit, and where the points go.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>

namespace kestrine::cli {

struct CommonOptions {
  std::string host;
  std::uint16_t port = 0;
  bool simulate = false;
  std::uint64_t seed = 1;  // of the simulator's noise
  double speed = 1;        // of the simulator's clock

  std::string length_unit;
  bool extended = false;

  std::string csv_file;
  std::string json_file;
  std::string svg_file;
  bool quiet = false;
};

inline constexpr const char* kMeasurementGroup = "Measurement";

// Parsing fills the options, which must outlive the command.
void add_tracker_options(CLI::App& command, CommonOptions& options);
// Returns the flag for covariances and deviations.
CLI::Option* add_unit_options(CLI::App& command, CommonOptions& options);
void add_output_options(CLI::App& command, CommonOptions& options);
// Of what depends on more than one option: that there is a tracker.
void check_common_options(const CommonOptions& options);

// Unlike the library's own range, this one does not let "nan" through.
CLI::Validator number_between(double low, double high);

}  // namespace kestrine::cli
