// A first look at how one list of points is turned against another.
#pragma once

#include <optional>
#include <span>

#include "simulator/geometry.h"

namespace kestrine::simulator {

// Points nearer to one line than this part of their extent show no rotation about it.
inline constexpr double kNarrow = 1e-4;

// The turn that three points lying well apart see. None of fewer than three, and none of points on a line in either
// list, which has as many in the same order as the other.
std::optional<Matrix> turn_seen(std::span<const Vector> to, std::span<const Vector> from);

}  // namespace kestrine::simulator
