// One connection to a tracker's server, with what a series of stationary points asks of it. Its calls wait for their
// answers; failures of the library and of the tracker come as kestrine::Error, warnings go to standard error.
#pragma once

#include <cstdint>

#include "cli/common/options.h"
#include "cli/points/measurement.h"
#include "kestrine/kestrine.h"

namespace kestrine::cli {

class StationarySession {
 public:
  explicit StationarySession(const Endpoint& endpoint);
  ~StationarySession();
  StationarySession(const StationarySession&) = delete;
  StationarySession& operator=(const StationarySession&) = delete;

  void prepare(const LengthUnit& unit);  // and initialise
  Tracker identify();
  // Right-handed X, Y, Z; with or without covariances.
  void set_mode(std::int32_t measure_time, bool extended);
  // Waits for the result. Its seconds are 0.
  Point measure_point(bool extended);

  // Throws Failure when the connection has ended: a call that waits only knows that it got no answer.
  void throw_if_lost() const;

 private:
  class StatusListener;

  void call(HRESULT status);

  Pointer<ILTConnect> connection_;
  Pointer<ILTCommandSync> commands_;
  Pointer<StatusListener> listener_;
  Subscription subscription_;
};

}  // namespace kestrine::cli
