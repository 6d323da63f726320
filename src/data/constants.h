// Conversion factors and marker values.
#pragma once

#include <optional>

#include "kestrine/enums.h"

namespace kestrine::data {

std::optional<double> find_constant(KR_Constant constant);

}  // namespace kestrine::data
