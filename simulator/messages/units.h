// Numbers as a client sees them, in the units it set, and as the simulator keeps them: metres, radians, degrees
// Celsius and millibar.
#pragma once

#include "kestrine/enums.h"
#include "kestrine/records.h"
#include "protocol/catalogue.h"

namespace kestrine::simulator {

using protocol::Quantity;

// One base unit, expressed in the unit; unknown units count as the base unit.
double length_factor(VL_LengthUnit unit);
double angle_factor(VL_AngleUnit unit);

// Not for positions, which are three values and need a frame.
double to_units(Quantity quantity, double value, const SystemUnitsDataT& units);
double from_units(Quantity quantity, double value, const SystemUnitsDataT& units);

}  // namespace kestrine::simulator
