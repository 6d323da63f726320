// The process's choice between classic and modern behaviour (host.h).
#pragma once

#include "kestrine/host.h"

namespace kestrine::platform {

// The choice, which holds from now on.
KESTRINE_HOST_API host::Behaviour fix_behaviour();

}  // namespace kestrine::platform
