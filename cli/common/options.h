// What every measuring command can be asked: which tracker, in which unit, and where the points go. The options of the
// command line fill it (verbs/command_line.h).
#pragma once

#include <cstdint>
#include <string>

namespace kestrine::cli {

// Where the tracker's server listens.
struct Endpoint {
  std::string host;
  std::uint16_t port = 0;
};

struct CommonOptions {
  Endpoint server;
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

}  // namespace kestrine::cli
