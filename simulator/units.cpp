#include "simulator/units.h"

#include <numbers>

namespace kestrine::simulator {

double length_factor(VL_LengthUnit unit) {
  switch (unit) {
    case VL_LU_Millimeter:
      return 1e3;
    case VL_LU_Micron:
      return 1e6;
    case VL_LU_Foot:
      return 1 / 0.3048;
    case VL_LU_Yard:
      return 1 / 0.9144;
    case VL_LU_Inch:
      return 1 / 0.0254;
    default:
      return 1;
  }
}

double angle_factor(VL_AngleUnit unit) {
  switch (unit) {
    case VL_AU_Degree:
      return 180 / std::numbers::pi;
    case VL_AU_Gon:
      return 200 / std::numbers::pi;
    default:
      return 1;
  }
}

double pressure_factor(VL_PressureUnit unit) {
  switch (unit) {
    case VL_PU_KPascal:
      return 0.1;
    case VL_PU_MmHg:
      return 1 / 1.33322;
    case VL_PU_Psi:
      return 1 / 68.94757;
    case VL_PU_InH2O:
      return 1 / 2.49082;
    case VL_PU_InHg:
      return 1 / 33.86379;
    default:
      return 1;
  }
}

double to_units(Quantity quantity, double value, const SystemUnitsDataT& units) {
  const double length = length_factor(units.lenUnitType);
  switch (quantity) {
    case Quantity::kLength:
      return value * length;
    case Quantity::kSquaredLength:
      return value * length * length;
    case Quantity::kAngle:
      return value * angle_factor(units.angUnitType);
    case Quantity::kPressure:
      return value * pressure_factor(units.pressUnitType);
    case Quantity::kTemperature:
      return units.tempUnitType == VL_TU_Fahrenheit ? value * 1.8 + 32 : value;
    default:
      return value;
  }
}

double from_units(Quantity quantity, double value, const SystemUnitsDataT& units) {
  const double length = length_factor(units.lenUnitType);
  switch (quantity) {
    case Quantity::kLength:
      return value / length;
    case Quantity::kSquaredLength:
      return value / (length * length);
    case Quantity::kAngle:
      return value / angle_factor(units.angUnitType);
    case Quantity::kPressure:
      return value / pressure_factor(units.pressUnitType);
    case Quantity::kTemperature:
      return units.tempUnitType == VL_TU_Fahrenheit ? (value - 32) / 1.8 : value;
    default:
      return value;
  }
}

}  // namespace kestrine::simulator
