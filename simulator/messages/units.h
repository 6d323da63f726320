// Numbers as a client sees them, in the units it set, and as the simulator keeps them: metres, radians, degrees
// Celsius and millibar.
#pragma once

#include "kestrine/enums.h"
#include "kestrine/records.h"

namespace kestrine::simulator {

enum class Quantity {
  kNone,  // the same in every unit
  kLength,
  kLengthSquared,
  kAngle,
  kTemperature,
  kPressure,
  kPosition,  // the first of three neighbours that together are a point in the coordinate system set
};

// One base unit, expressed in the unit; unknown units count as the base unit.
double length_factor(VL_LengthUnit unit);
double angle_factor(VL_AngleUnit unit);

// Not for positions, which are three values and need a frame.
double to_units(Quantity quantity, double value, const SystemUnitsDataT& units);
double from_units(Quantity quantity, double value, const SystemUnitsDataT& units);

}  // namespace kestrine::simulator
