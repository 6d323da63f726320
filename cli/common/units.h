// The length units in which a measurement can be taken, and how finely each is shown.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "kestrine/enums.h"

namespace kestrine::cli {

struct LengthUnit {
  std::string_view name;  // on the command line, in column names and on axes
  VL_LengthUnit code;
  double metres;
  int decimals;  // so that a position shows a tenth of a micrometre, more or less
  // Deviations are some thousand times smaller than positions and have a unit of their own.
  std::string_view fine_name;
  double fine_metres;
  int fine_decimals;

  double to_fine(double value) const { return value * metres / fine_metres; }
  // Whether deviations up to this one read better in the fine unit.
  bool is_fine(double value) const;

  // Both with the name of the unit.
  std::string position_text(double value) const;
  std::string deviation_text(double value) const;
  // In the fine unit, without its name.
  std::string fine_number(double value) const;
};

// Throws Failure for a name that is none.
const LengthUnit& length_unit(std::string_view name);
std::vector<std::string> length_unit_names();

}  // namespace kestrine::cli
