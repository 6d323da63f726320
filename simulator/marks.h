// Numbers that stand in the place of a standard deviation and are none. They are the same in every unit. A deviation
// of 0 marks what is exact.
#pragma once

namespace kestrine::simulator {

inline constexpr double kApproximate = 1e15;  // free, near the value given
inline constexpr double kUnknown = 1e35;      // free, and the value given means nothing

// Whoever worked out a mark may have come only near it.
inline bool is_approximate(double deviation) {
  return deviation > 0.1 * kApproximate;
}
inline bool is_unknown(double deviation) {
  return deviation > 0.1 * kUnknown;
}

}  // namespace kestrine::simulator
