// How the services of the system tell why they failed.
#pragma once

#include <string>

#include "kestrine/component.h"

namespace kestrine::platform {

// Leaves the text in the calling thread's error information and in the host's log; returns the status.
HRESULT fail(HRESULT status, const std::string& text);

}  // namespace kestrine::platform
