// The mean of readings that scatter, with the uncertainty that their own spread gives it.
#pragma once

#include <functional>

#include "simulator/geometry.h"

namespace kestrine::simulator {

struct Mean {
  Vector value;
  Matrix covariance{};  // of the mean
};

// Two readings at least: a spread needs two.
Mean mean_of(int readings, const std::function<Vector()>& read);

}  // namespace kestrine::simulator
