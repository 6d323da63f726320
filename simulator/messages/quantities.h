// What the doubles of the protocol's records measure, by the names of their fields.
#pragma once

#include <string_view>

#include "simulator/messages/units.h"

namespace kestrine::simulator {

// The name is a field's whole path. A row for the path goes before one for its last part; without a row the value
// is a pure number, or the second or third value of a position.
Quantity quantity_of(std::string_view path);

}  // namespace kestrine::simulator
