#include "simulator/commands/still_image.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

#include <jpeglib.h>

namespace kestrine::simulator {
namespace {

constexpr std::int32_t kWidth = 160;
constexpr std::int32_t kHeight = 120;
constexpr std::size_t kHead = 54;  // file header and picture header
constexpr int kQuality = 95;       // of 100: the spot's hard edge hardly rings

// From the lower left corner.
Pixel pixel_at(std::int32_t x, std::int32_t y) {
  const std::int32_t right = x - kWidth / 2;
  const std::int32_t up = y - kHeight / 2;
  if (right * right + up * up < 25) return {40, 40, 255};
  if (right == 0 || up == 0) return {0, 0, 0};
  const auto grey = static_cast<std::uint8_t>(90 + y);
  return {grey, grey, grey};
}

}  // namespace

Picture overview_picture() {
  Picture picture{kWidth, kHeight, {}};
  for (std::int32_t y = kHeight; y-- > 0;) {
    for (std::int32_t x = 0; x < kWidth; ++x) picture.pixels.push_back(pixel_at(x, y));
  }
  return picture;
}

Bytes bitmap_file(const Picture& picture) {
  const std::int32_t row_bytes = picture.width * 3;
  Bytes file(kHead);
  file[0] = 'B';
  file[1] = 'M';
  wire::store_i32(file.data() + 2, static_cast<std::int32_t>(kHead) + row_bytes * picture.height);
  wire::store_i32(file.data() + 10, static_cast<std::int32_t>(kHead));
  wire::store_i32(file.data() + 14, 40);  // of the picture header
  wire::store_i32(file.data() + 18, picture.width);
  wire::store_i32(file.data() + 22, picture.height);
  wire::store_i32(file.data() + 26, 1 | 24 << 16);  // planes and bits a pixel, two 16-bit numbers
  wire::store_i32(file.data() + 34, row_bytes * picture.height);
  const auto width = static_cast<std::size_t>(picture.width);
  for (auto y = static_cast<std::size_t>(picture.height); y-- > 0;) {  // rows from the bottom
    for (std::size_t x = 0; x < width; ++x) {
      const Pixel& pixel = picture.pixels[y * width + x];
      file.insert(file.end(), {pixel.blue, pixel.green, pixel.red});
    }
  }
  return file;
}

Bytes jpeg_file(const Picture& picture) {
  jpeg_error_mgr errors;  // the default ends the program: nothing here can fail but for want of memory
  jpeg_compress_struct encoder;
  encoder.err = jpeg_std_error(&errors);
  jpeg_create_compress(&encoder);
  unsigned char* bytes = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&encoder, &bytes, &size);
  encoder.image_width = static_cast<JDIMENSION>(picture.width);
  encoder.image_height = static_cast<JDIMENSION>(picture.height);
  encoder.input_components = sizeof(Pixel);
  encoder.in_color_space = JCS_EXT_BGR;
  jpeg_set_defaults(&encoder);
  jpeg_set_quality(&encoder, kQuality, TRUE);
  encoder.comp_info[0].h_samp_factor = encoder.comp_info[0].v_samp_factor = 1;
  jpeg_start_compress(&encoder, TRUE);
  while (encoder.next_scanline < encoder.image_height) {
    const Pixel* row = &picture.pixels[std::size_t{encoder.next_scanline} * encoder.image_width];
    JSAMPROW samples = const_cast<JSAMPLE*>(reinterpret_cast<const JSAMPLE*>(row));
    jpeg_write_scanlines(&encoder, &samples, 1);
  }
  jpeg_finish_compress(&encoder);
  jpeg_destroy_compress(&encoder);
  const std::unique_ptr<unsigned char, decltype(&std::free)> owner(bytes, std::free);
  return Bytes(bytes, bytes + size);
}

}  // namespace kestrine::simulator
