// What the overview camera sees, as the files that a client can ask for.
#pragma once

#include <cstdint>
#include <vector>

#include "simulator/messages/messages.h"

namespace kestrine::simulator {

struct Pixel {
  std::uint8_t blue, green, red;
};

struct Picture {
  std::int32_t width = 0;  // a multiple of four: rows of a bitmap begin there
  std::int32_t height = 0;
  std::vector<Pixel> pixels;  // rows from the top
};

// A grey field with the beam's spot in its middle and a cross through it.
Picture overview_picture();

// 24 bits a pixel.
Bytes bitmap_file(const Picture& picture);
// No loss of colour resolution, little loss else.
Bytes jpeg_file(const Picture& picture);

}  // namespace kestrine::simulator
