// The connection to a tracker's server, and why there is none.
#pragma once

#include "cli/common/options.h"
#include "kestrine/kestrine.h"

namespace kestrine::cli {

// Throws Failure with host, port and reason, or Stopped when the user wants to stop meanwhile.
Pointer<ILTConnect> connect(const Endpoint& endpoint);

}  // namespace kestrine::cli
