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

// Runs the loop meanwhile, and shows the progress.
End follow_stream(const StreamOptions& options, const StreamEvents& events, const Measurement& measurement);

}  // namespace kestrine::cli
