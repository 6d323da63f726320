// Measures a stream from its start to its end, driven by events from a loop; no call ever waits.
#pragma once

#include <optional>

#include "cli/output/record.h"
#include "cli/points/completeness.h"
#include "cli/streaming/options.h"
#include "cli/streaming/session.h"

namespace kestrine::cli {

// Shows the progress meanwhile. `completeness` is there once the stream was started, however it ended. Throws Failure
// when the stream broke off, or ran to its end and points are missing.
void measure_stream(StreamSession& session, const StreamOptions& options, Record& record,
                    std::optional<Completeness>& completeness);

}  // namespace kestrine::cli
