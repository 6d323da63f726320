// Waits until a stream is over.
#pragma once

#include <string>

#include "cli/measurement.h"
#include "cli/stream.h"
#include "cli/stream_events.h"

namespace kestrine::cli {

enum class Ending {
  kComplete,    // all that was asked for came
  kIncomplete,  // the tracker has measured all that was asked for, but not all of it came
  kTimeOver,
  kStopped,  // by the user
  kFailed
};

struct End {
  Ending ending = Ending::kFailed;
  std::string failure = {};  // what went wrong, of kFailed
};

class Streaming {
 public:
  // All three outlive it.
  Streaming(const StreamOptions& options, const StreamEvents& events, const Measurement& measurement)
      : options_(options), events_(events), measurement_(measurement) {}

  // Runs the loop meanwhile, and shows the progress.
  End follow() const;

 private:
  bool is_complete() const;
  bool is_time_over(double now) const;
  double longest_silence() const;

  const StreamOptions& options_;
  const StreamEvents& events_;
  const Measurement& measurement_;
};

}  // namespace kestrine::cli
