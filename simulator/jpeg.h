// A baseline JPEG file of a picture: no loss of colour resolution, little loss else.
#pragma once

#include <cstdint>
#include <span>

#include "simulator/outside.h"

namespace kestrine::simulator {

struct Pixel {
  std::uint8_t blue, green, red;
};

// Rows from the top; both sides are multiples of eight, so that no block hangs over an edge.
Bytes jpeg_file(std::span<const Pixel> pixels, std::int32_t width, std::int32_t height);

}  // namespace kestrine::simulator
