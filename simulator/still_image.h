// What the overview camera sees: a grey field with the beam's spot in its middle and a cross through it.
#pragma once

#include <cstdint>

#include "simulator/outside.h"

namespace kestrine::simulator {

inline constexpr std::int32_t kImageWidth = 160;
inline constexpr std::int32_t kImageHeight = 120;

// A whole bitmap file of 24 bits a pixel.
Bytes bitmap_file();

}  // namespace kestrine::simulator
