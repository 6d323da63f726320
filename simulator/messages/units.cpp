#include "simulator/messages/units.h"

#include <array>
#include <numbers>
#include <span>

namespace kestrine::simulator {

namespace {

// In the order of the units' values; what has no value there counts as the base unit.
constexpr std::array kLengths{1.0, 1e3, 1e6, 1 / 0.3048, 1 / 0.9144, 1 / 0.0254};
constexpr std::array kAngles{1.0, 180 / std::numbers::pi, 200 / std::numbers::pi};
constexpr std::array kPressures{1.0, 1.0, 0.1, 1 / 1.33322, 1 / 68.94757, 1 / 2.49082, 1 / 33.86379};
static_assert(VL_LU_Inch == 5 && VL_AU_Gon == 2 && VL_PU_InHg == 6);

double factor_of(std::span<const double> factors, std::int32_t unit) {
  const auto index = static_cast<std::size_t>(unit);
  return index < factors.size() ? factors[index] : 1;
}

// What a base unit is in the units; temperatures have their zero elsewhere, too.
double factor(Quantity quantity, const SystemUnitsDataT& units) {
  const double length = length_factor(units.lenUnitType);
  switch (quantity) {
    case Quantity::kLength:
      return length;
    case Quantity::kSquaredLength:
      return length * length;
    case Quantity::kAngle:
      return angle_factor(units.angUnitType);
    case Quantity::kPressure:
      return factor_of(kPressures, units.pressUnitType);
    default:
      return 1;
  }
}

bool is_fahrenheit(Quantity quantity, const SystemUnitsDataT& units) {
  return quantity == Quantity::kTemperature && units.tempUnitType == VL_TU_Fahrenheit;
}

}  // namespace

double length_factor(VL_LengthUnit unit) {
  return factor_of(kLengths, unit);
}

double angle_factor(VL_AngleUnit unit) {
  return factor_of(kAngles, unit);
}

double to_units(Quantity quantity, double value, const SystemUnitsDataT& units) {
  return is_fahrenheit(quantity, units) ? value * 1.8 + 32 : value * factor(quantity, units);
}

double from_units(Quantity quantity, double value, const SystemUnitsDataT& units) {
  return is_fahrenheit(quantity, units) ? (value - 32) / 1.8 : value / factor(quantity, units);
}

}  // namespace kestrine::simulator
