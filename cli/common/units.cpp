#include "cli/common/units.h"

#include <array>
#include <cmath>

#include "cli/common/format.h"
#include "cli/common/named.h"

namespace kestrine::cli {
namespace {

constexpr double kInch = 0.0254;
constexpr double kMicron = 1e-6;
constexpr double kThou = kInch / 1000;

constexpr std::array kLengthUnits{
    LengthUnit{"mm", VL_LU_Millimeter, 1e-3, 4, "µm", kMicron, 1},
    LengthUnit{"m", VL_LU_Meter, 1.0, 7, "µm", kMicron, 1},
    LengthUnit{"um", VL_LU_Micron, kMicron, 1, "µm", kMicron, 1},
    LengthUnit{"in", VL_LU_Inch, kInch, 5, "thou", kThou, 3},
    LengthUnit{"ft", VL_LU_Foot, 12 * kInch, 6, "thou", kThou, 3},
    LengthUnit{"yd", VL_LU_Yard, 36 * kInch, 7, "thou", kThou, 3},
};

constexpr double kMostFineMetres = 5e-3;

}  // namespace

bool LengthUnit::is_fine(double value) const {
  return std::abs(value) * metres < kMostFineMetres;
}

std::string LengthUnit::position_text(double value) const {
  return fixed(value, decimals) + " " + std::string(name);
}

std::string LengthUnit::deviation_text(double value) const {
  if (!is_fine(value)) return position_text(value);
  return fine_number(value) + " " + std::string(fine_name);
}

std::string LengthUnit::fine_number(double value) const {
  return fixed(to_fine(value), fine_decimals);
}

const LengthUnit& length_unit(std::string_view name) {
  return find_named(kLengthUnits, name, "length unit");
}

std::vector<std::string> length_unit_names() {
  return names_of(kLengthUnits);
}

}  // namespace kestrine::cli
