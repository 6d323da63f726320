// What the tracker takes as a parameter and what it refuses.
#pragma once

#include "kestrine/enums.h"
#include "simulator/request.h"

namespace kestrine::simulator {

// The status for a parameter, counted from 1. There are six numbers for ranges and sixteen for wrong values.
VL_ResultStatus wrong_parameter(int number);
VL_ResultStatus out_of_range(int number);
VL_ResultStatus out_of_range_but_accepted(int number);
// Accepted, perhaps with a warning.
bool is_accepted(VL_ResultStatus status);

// Looks at every parameter: enumerations must have the value, numbers must be finite and in range.
VL_ResultStatus check_parameters(const Request& request);

}  // namespace kestrine::simulator
