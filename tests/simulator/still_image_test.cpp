// The overview camera's pictures, read by a decoder that knows nothing of the encoder.
#include <array>
#include <cmath>
#include <numbers>

#include "bench.h"
#include "simulator/jpeg.h"
#include "simulator/still_image.h"

namespace kestrine::simulator {
namespace {

using Colour = std::array<double, 3>;  // red, green, blue

// Baseline, three components sampled alike, sides of whole blocks; whatever else is in the file fails the test.
class JpegDecoder {
 public:
  explicit JpegDecoder(const Bytes& file) : file_(file) {
    EXPECT_EQ(word(0), 0xffd8);
    for (at_ = 2; !is_over_ && at_ + 4 < file.size();) segment(word(at_));
    EXPECT_EQ(at_ + 2, file.size());
    EXPECT_EQ(word(at_), 0xffd9);
  }
  int width = 0, height = 0;
  std::vector<int> markers;
  std::vector<Colour> pixels;

 private:
  struct Table {
    std::map<std::pair<int, int>, int> values;  // by length and bits
  };

  int byte(std::size_t at) const { return file_.at(at); }
  int word(std::size_t at) const { return byte(at) << 8 | byte(at + 1); }

  void segment(int marker) {
    markers.push_back(marker);
    if (marker == 0xffdb) {
      for (std::size_t i = 0; i < 64; ++i) steps_[i] = byte(at_ + 5 + i);
    } else if (marker == 0xffc0) {
      height = word(at_ + 5);
      width = word(at_ + 7);
      EXPECT_EQ(byte(at_ + 9), 3);
    } else if (marker == 0xffc4) {
      Table& table = tables_[byte(at_ + 4)];
      std::size_t value = at_ + 21;
      for (int length = 1, bits = 0; length <= 16; ++length, bits *= 2)
        for (int n = byte(at_ + 4 + static_cast<std::size_t>(length)); n-- > 0;)
          table.values[{length, bits++}] = byte(value++);
      EXPECT_EQ(value, at_ + 2 + static_cast<std::size_t>(word(at_ + 2)));
    } else if (marker == 0xffda) {
      return scan(at_ + 2 + static_cast<std::size_t>(word(at_ + 2)));
    }
    at_ += 2 + static_cast<std::size_t>(word(at_ + 2));
  }
  int bit() {
    if (left_ == 0) {
      now_ = byte(next_++);
      if (now_ == 0xff) {
        EXPECT_EQ(byte(next_++), 0);
      }
      left_ = 8;
    }
    return now_ >> --left_ & 1;
  }
  int number(int bits) {
    int value = 0;
    for (int i = 0; i < bits; ++i) value = value * 2 + bit();
    return bits > 0 && value < 1 << (bits - 1) ? value - (1 << bits) + 1 : value;
  }
  int symbol(const Table& table) {
    for (int length = 1, bits = bit(); length <= 16; ++length, bits = bits * 2 + bit())
      if (const auto found = table.values.find({length, bits}); found != table.values.end()) return found->second;
    throw std::runtime_error("no such code");
  }
  std::array<double, 64> block(int& mean) {
    static constexpr int kOrder[] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
                                     12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,
                                     35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
                                     58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};
    std::array<double, 64> sums{};
    const auto add = [&](std::size_t index, int value) {
      for (int i = 0; i < 64; ++i) {
        const auto wave = [](int n, int f) {
          return (f ? 1 : std::sqrt(0.5)) * std::cos((2 * n + 1) * f * std::numbers::pi / 16);
        };
        sums[static_cast<std::size_t>(i)] +=
            value * steps_[index] * wave(i / 8, kOrder[index] / 8) * wave(i % 8, kOrder[index] % 8) / 4;
      }
    };
    add(0, mean += number(symbol(tables_.at(0))));
    for (std::size_t i = 1; i < 64; ++i) {
      const int code = symbol(tables_.at(0x10));
      if (code == 0) break;
      i += static_cast<std::size_t>(code >> 4);
      if (i < 64 && code != 0xf0) add(i, number(code & 15));
    }
    return sums;
  }
  void scan(std::size_t from) {
    next_ = from;
    pixels.resize(static_cast<std::size_t>(width * height));
    std::array<int, 3> means{};
    for (int i = 0; i < width * height / 64; ++i) {
      const auto y = block(means[0]), cb = block(means[1]), cr = block(means[2]);
      for (std::size_t p = 0; p < 64; ++p) {
        const int row = i / (width / 8) * 8 + static_cast<int>(p / 8),
                  column = i % (width / 8) * 8 + static_cast<int>(p % 8);
        pixels[static_cast<std::size_t>(row * width + column)] = {
            y[p] + 128 + 1.402 * cr[p], y[p] + 128 - 0.344136 * cb[p] - 0.714136 * cr[p], y[p] + 128 + 1.772 * cb[p]};
      }
    }
    at_ = next_;
    is_over_ = true;
  }

  const Bytes& file_;
  std::size_t at_ = 0, next_ = 0;
  int now_ = 0, left_ = 0;
  bool is_over_ = false;
  std::array<int, 64> steps_{};
  std::map<int, Table> tables_;
};

Bytes picture(Bench& bench, VL_StillImageFileType type) {
  const Bytes answer = bench.ask(protocol::build_GetStillImage(type)).at(0);
  const auto at = [&](std::size_t offset) { return wire::load_i32(answer.data() + offset); };
  EXPECT_EQ(at(0), static_cast<std::int32_t>(answer.size()));
  EXPECT_EQ(at(12), VL_RS_AllOK);
  EXPECT_EQ(at(16), type);
  EXPECT_EQ(at(20), static_cast<std::int32_t>(answer.size()) - 24);
  return Bytes(answer.begin() + 24, answer.end());
}

TEST(StillImage, IsAWholeBitmap) {
  Bench bench;
  const Bytes file = picture(bench, VL_SI_Bitmap);
  ASSERT_EQ(file.size(), 54u + 160 * 120 * 3);
  const auto at = [&](std::size_t offset) { return wire::load_i32(file.data() + offset); };
  EXPECT_EQ(file[0], 'B');
  EXPECT_EQ(file[1], 'M');
  EXPECT_EQ(at(2), static_cast<std::int32_t>(file.size()));
  EXPECT_EQ(at(18), kImageWidth);
  EXPECT_EQ(at(22), kImageHeight);
}

TEST(StillImage, IsAJpegFileOfTheSamePicture) {
  Bench bench;
  const Bytes bitmap = picture(bench, VL_SI_Bitmap);
  const Bytes file = picture(bench, VL_SI_Jpeg);
  const JpegDecoder jpeg(file);
  EXPECT_EQ(std::string(file.begin() + 6, file.begin() + 10), "JFIF");
  EXPECT_EQ(jpeg.markers, (std::vector<int>{0xffe0, 0xffdb, 0xffc0, 0xffc4, 0xffc4, 0xffda}));
  ASSERT_EQ(jpeg.width, kImageWidth);
  ASSERT_EQ(jpeg.height, kImageHeight);
  double worst = 0;
  for (std::size_t i = 0; i < jpeg.pixels.size(); ++i) {
    const std::size_t row = i / kImageWidth, column = i % kImageWidth;
    const std::size_t at = 54 + ((kImageHeight - 1 - row) * kImageWidth + column) * 3;
    for (std::size_t c = 0; c < 3; ++c) worst = std::max(worst, std::abs(jpeg.pixels[i][c] - bitmap[at + 2 - c]));
  }
  EXPECT_LT(worst, 25);  // the spot's hard edge rings; a wrong table or order would be out by a hundred and more
}

// All the detail there can be, and detail behind long runs of nothing.
TEST(StillImage, KeepsTheFinestDetailInAJpegFile) {
  std::vector<Pixel> rough, chequered;
  for (std::uint32_t i = 0; i < 16 * 16; ++i) {
    const std::uint32_t chance = (i * 2654435761u) >> 8;
    rough.push_back({static_cast<std::uint8_t>(chance), static_cast<std::uint8_t>(chance >> 8),
                     static_cast<std::uint8_t>(chance >> 16)});
    const std::uint8_t grey = (i + i / 16) % 2 == 0 ? 100 : 156;
    chequered.push_back({grey, grey, grey});
  }
  for (const auto& pixels : {rough, chequered}) {
    const Bytes file = jpeg_file(pixels, 16, 16);
    const JpegDecoder jpeg(file);
    ASSERT_EQ(jpeg.pixels.size(), pixels.size());
    double worst = 0;
    for (std::size_t i = 0; i < pixels.size(); ++i) {
      worst = std::max({worst, std::abs(jpeg.pixels[i][0] - pixels[i].red),
                        std::abs(jpeg.pixels[i][1] - pixels[i].green), std::abs(jpeg.pixels[i][2] - pixels[i].blue)});
    }
    EXPECT_LT(worst, 25);
  }
}

TEST(StillImage, IsRefusedWhereTheSettingsSayThatThereIsNoCamera) {
  Bench bench;
  EXPECT_EQ(bench.answer<GetOverviewCameraInfoRT>(protocol::build_GetOverviewCameraInfo()).cameraType,
            VL_OCT_Korv_Integrated);
  bench.ask(request_of(VL_C_SetSystemSettings, SystemSettingsDataT{}));
  EXPECT_EQ(bench.status(protocol::build_GetStillImage(VL_SI_Jpeg)), VL_RS_NoVideoCamera);
  EXPECT_EQ(bench.status(protocol::build_GetOverviewCameraInfo()), VL_RS_NoOVC);
}

}  // namespace
}  // namespace kestrine::simulator
