// What the overview camera sees: a grey field with the beam's spot in its middle and a cross through it.
#pragma once

#include <cstdint>

#include "simulator/outside.h"

namespace kestrine::simulator {

inline constexpr std::int32_t kImageWidth = 160;
inline constexpr std::int32_t kImageHeight = 120;

// The same picture as a whole bitmap file of 24 bits a pixel, and as a JPEG file.
Bytes bitmap_still();
Bytes jpeg_still();

}  // namespace kestrine::simulator
