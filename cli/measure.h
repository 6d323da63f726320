// `kestrine measure`: one measurement from connecting to the files.
#pragma once

#include <cstdint>
#include <string>

#include "cli/measurement.h"

namespace kestrine::cli {

struct MeasureOptions {
  std::string host;
  std::uint16_t port = 0;
  bool simulate = false;
  std::uint64_t seed = 1;  // of the simulator's noise
  double speed = 1;        // of the simulator's clock

  bool stream = false;               // or else a series of stationary points
  std::size_t points = 10;           // of the series
  std::size_t count = 0;             // of the stream; 0 when only its duration ends it
  double duration = 0;               // of the stream in seconds; 0 when only its count ends it
  std::int32_t measure_time = 0;     // milliseconds for each stationary point
  std::int32_t time_separation = 0;  // milliseconds between the points of a stream
  bool extended = false;
  std::string length_unit;

  std::string csv_file;
  std::string json_file;
  std::string svg_file;
  bool quiet = false;
};

enum class Outcome { kComplete, kStopped };

// Throws Failure or kestrine::Error. What was measured before a failure or a stop is in the files all the same.
Outcome measure(const MeasureOptions& options);

}  // namespace kestrine::cli
