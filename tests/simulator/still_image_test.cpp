// The overview camera's pictures, read by a decoder of JPEG files that everybody uses.
#include <cstdio>

#include <jpeglib.h>

#include "bench.h"
#include "simulator/commands/still_image.h"

namespace kestrine::simulator {
namespace {
// A decoder that finds fault with a file ends the program, and the test with it.
Picture decoded(const Bytes& file) {
  jpeg_error_mgr errors;
  jpeg_decompress_struct decoder;
  decoder.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&decoder);
  jpeg_mem_src(&decoder, file.data(), file.size());
  jpeg_read_header(&decoder, TRUE);
  decoder.out_color_space = JCS_EXT_BGR;
  jpeg_start_decompress(&decoder);
  Picture picture{
      static_cast<std::int32_t>(decoder.output_width), static_cast<std::int32_t>(decoder.output_height), {}};
  picture.pixels.resize(std::size_t{decoder.output_width} * decoder.output_height);
  while (decoder.output_scanline < decoder.output_height) {
    Pixel* const row = &picture.pixels[std::size_t{decoder.output_scanline} * decoder.output_width];
    auto* samples = reinterpret_cast<JSAMPLE*>(row);
    jpeg_read_scanlines(&decoder, &samples, 1);
  }
  jpeg_finish_decompress(&decoder);
  EXPECT_EQ(errors.num_warnings, 0);
  jpeg_destroy_decompress(&decoder);
  return picture;
}

Bytes still_image(Bench& bench, VL_StillImageFileType type) {
  const Bytes answer = bench.ask(build_GetStillImage(type)).at(0);
  const auto at = [&](std::size_t offset) { return wire::load_i32(answer.data() + offset); };
  EXPECT_EQ((Codes{at(12), at(16), at(20)}), (Codes{VL_RS_AllOK, type, static_cast<std::int32_t>(answer.size()) - 24}));
  return Bytes(answer.begin() + 24, answer.end());
}

using StillImage = BenchTest<>;

TEST_F(StillImage, IsTheSamePictureInAWholeBitmapAndInAJpegFile) {
  const Bytes bitmap = still_image(*this, VL_SI_Bitmap);
  const auto at = [&](std::size_t offset) { return wire::load_i32(bitmap.data() + offset); };
  const Picture picture = decoded(still_image(*this, VL_SI_Jpeg));
  ASSERT_EQ(bitmap.size(), 54u + 160 * 120 * 3);
  EXPECT_EQ(std::string(bitmap.begin(), bitmap.begin() + 2), "BM");
  EXPECT_EQ((Codes{at(2), at(18), at(22)}), (Codes{54 + 160 * 120 * 3, 160, 120}));
  ASSERT_EQ((Codes{picture.width, picture.height}), (Codes{160, 120}));
  int worst = 0;
  for (std::size_t i = 0; i < picture.pixels.size(); ++i) {
    const std::uint8_t* const there = &bitmap[54 + ((119 - i / 160) * 160 + i % 160) * 3];
    const auto [blue, green, red] = picture.pixels[i];
    worst = std::max({worst, std::abs(blue - there[0]), std::abs(green - there[1]), std::abs(red - there[2])});
  }
  EXPECT_LT(worst, 25);  // the spot's hard edge rings
}

TEST_F(StillImage, IsRefusedWhereTheSettingsSayThatThereIsNoCamera) {
  EXPECT_EQ(answer<GetOverviewCameraInfoRT>(build_GetOverviewCameraInfo()).cameraType, VL_OCT_Korv_Integrated);
  ask(request_of(VL_C_SetSystemSettings, SystemSettingsDataT{}));
  EXPECT_EQ(statuses({build_GetStillImage(VL_SI_Jpeg), build_GetOverviewCameraInfo()}),
            (Codes{VL_RS_NoVideoCamera, VL_RS_NoOVC}));
}

}  // namespace
}  // namespace kestrine::simulator
