// The message shown when objects of both interface generations seem to meet in one process.
#pragma once

#include <cstdint>

#include "transport/slots.h"

namespace kestrine::transport {

void show_mixed_generations();
// A command object that goes within 100 ms of being made, once an application has fetched one from a
// connection, is taken for a sign of mixed generations.
void check_lifetime(const Slots& slots, std::uint32_t creation_tick);

}  // namespace kestrine::transport
