#include "simulator/still_image.h"

#include <vector>

#include "kestrine/wire.h"
#include "simulator/jpeg.h"

namespace kestrine::simulator {
namespace {

constexpr std::size_t kHead = 54;  // file header and picture header
constexpr std::int32_t kRowBytes = kImageWidth * 3;
static_assert(kRowBytes % 4 == 0, "rows of a bitmap begin at multiples of four");

// From the lower left corner.
Pixel pixel_at(std::int32_t x, std::int32_t y) {
  const std::int32_t right = x - kImageWidth / 2;
  const std::int32_t up = y - kImageHeight / 2;
  if (right * right + up * up < 25) return {40, 40, 255};
  if (right == 0 || up == 0) return {0, 0, 0};
  const auto grey = static_cast<std::uint8_t>(90 + y);
  return {grey, grey, grey};
}

}  // namespace

Bytes bitmap_still() {
  Bytes file(kHead);
  file[0] = 'B';
  file[1] = 'M';
  wire::store_i32(file.data() + 2, static_cast<std::int32_t>(kHead) + kRowBytes * kImageHeight);
  wire::store_i32(file.data() + 10, static_cast<std::int32_t>(kHead));
  wire::store_i32(file.data() + 14, 40);  // of the picture header
  wire::store_i32(file.data() + 18, kImageWidth);
  wire::store_i32(file.data() + 22, kImageHeight);
  wire::store_i32(file.data() + 26, 1 | 24 << 16);  // planes and bits a pixel, two 16-bit numbers
  wire::store_i32(file.data() + 34, kRowBytes * kImageHeight);
  for (std::int32_t y = 0; y < kImageHeight; ++y) {  // from the bottom upwards
    for (std::int32_t x = 0; x < kImageWidth; ++x) {
      const Pixel pixel = pixel_at(x, y);
      file.insert(file.end(), {pixel.blue, pixel.green, pixel.red});
    }
  }
  return file;
}

Bytes jpeg_still() {
  std::vector<Pixel> pixels;
  for (std::int32_t y = kImageHeight; y-- > 0;) {  // from the top downwards
    for (std::int32_t x = 0; x < kImageWidth; ++x) pixels.push_back(pixel_at(x, y));
  }
  return jpeg_file(pixels, kImageWidth, kImageHeight);
}

}  // namespace kestrine::simulator
