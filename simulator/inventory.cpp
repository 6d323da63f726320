#include "simulator/inventory.h"

#include <algorithm>
#include <array>

namespace kestrine::simulator {
namespace {

constexpr std::array kReflectors{
    Reflector{1, VL_TT_CornerCube, 0.01905, u"Corner cube 1.5 in"},
    Reflector{2, VL_TT_CornerCube, 0.00635, u"Corner cube 0.5 in"},
    Reflector{3, VL_TT_CatsEye, 0.0375, u"Cat's eye 75 mm"},
    Reflector{7, VL_TT_GlassPrism, 0.00635, u"Glass prism 0.5 in"},  // identifiers need not be contiguous
};

constexpr std::array kCompensations{
    Compensation{1, u"Factory", u"As delivered", u"Factory ADM", u"As delivered"},
    Compensation{2, u"Workshop", u"After the move to the workshop", u"Workshop ADM", u"Same day as the tracker's"},
};

}  // namespace

std::span<const Reflector> reflectors() {
  return kReflectors;
}

std::span<const Compensation> compensations() {
  return kCompensations;
}

bool is_reflector(std::int32_t id) {
  return std::any_of(kReflectors.begin(), kReflectors.end(), [&](const Reflector& each) { return each.id == id; });
}

bool is_compensation(std::int32_t id) {
  return std::any_of(kCompensations.begin(), kCompensations.end(),
                     [&](const Compensation& each) { return each.id == id; });
}

}  // namespace kestrine::simulator
