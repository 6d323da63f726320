// What the measurement modes have in common.
#pragma once

#include "kestrine/enums.h"

namespace kestrine::simulator {

// The modes whose target is the probe; each has its like among those for a reflector, and shares its parameters.
inline bool is_probe_mode(VL_MeasMode mode) {
  return mode >= VL_MM_6DStationary && mode <= VL_MM_6DCircleCenter;
}

inline VL_MeasMode point_mode(VL_MeasMode mode) {
  return is_probe_mode(mode) ? static_cast<VL_MeasMode>(mode - VL_MM_6DStationary) : mode;
}

inline bool is_stationary(VL_MeasMode mode) {
  return point_mode(mode) == VL_MM_Stationary || mode >= VL_MM_Fast;
}

inline bool is_centre(VL_MeasMode mode) {
  return point_mode(mode) == VL_MM_SphereCenter || point_mode(mode) == VL_MM_CircleCenter;
}

}  // namespace kestrine::simulator
