// One connection to a tracker's server, with what a series asks of it. Its calls wait for their answers.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "cli/measurement.h"
#include "kestrine/kestrine.h"

namespace kestrine::cli {

// Failures of the library and of the tracker come as kestrine::Error.
class Session {
 public:
  // Is given what the tracker accepts with a warning.
  using Warn = std::function<void(const std::string& text)>;

  Session(const std::string& host, std::uint16_t port, Warn warn);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  void set_units(const LengthUnit& unit);
  void initialise();
  Tracker identify();

  // Right-handed X, Y, Z; with or without covariances.
  void set_stationary_mode(std::int32_t measure_time, bool extended);

  // Waits for the result. Its seconds are 0.
  Point measure_point(bool extended);

  ILTCommandSync& commands() { return *commands_; }

 private:
  void call(HRESULT status);

  Warn warn_;
  Pointer<ILTConnect> connection_;
  Pointer<ILTCommandSync> commands_;
};

}  // namespace kestrine::cli
