#include "simulator/jpeg.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <initializer_list>
#include <numbers>

namespace kestrine::simulator {
namespace {

constexpr std::size_t kSide = 8;
constexpr std::size_t kCoefficients = kSide * kSide;
constexpr std::size_t kComponents = 3;  // Y, Cb, Cr

using Block = std::array<double, kCoefficients>;

// In the order in which coefficients are written: along the diagonals, from the mean to the finest detail.
constexpr auto kZigzag = [] {
  std::array<std::size_t, kCoefficients> order{};
  std::size_t next = 0;
  for (std::size_t diagonal = 0; diagonal < 2 * kSide - 1; ++diagonal) {
    for (std::size_t i = 0; i <= diagonal; ++i) {
      const std::size_t row = diagonal % 2 == 0 ? diagonal - i : i;
      const std::size_t column = diagonal - row;
      if (row < kSide && column < kSide) order[next++] = row * kSide + column;
    }
  }
  return order;
}();

// The finer the detail, the coarser its steps. The same steps serve all three components: chroma is grey here but
// for the spot, and costs next to nothing.
constexpr std::uint8_t step(std::size_t zigzag_index) {
  return static_cast<std::uint8_t>(2 + zigzag_index / 4);
}

// How many codes there are of each length from 1 to 16 bits, and what they stand for, the standard's typical tables.
constexpr std::array<std::uint8_t, 16> kMeanLengths{0, 1, 5, 1, 1, 1, 1, 1, 1};
constexpr std::array<std::uint8_t, 12> kMeanValues{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
constexpr std::array<std::uint8_t, 16> kDetailLengths{0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 125};
constexpr std::array<std::uint8_t, 162> kDetailValues{
    0x01, 0x02, 0x03, 0x00, 0x04, 0x11, 0x05, 0x12, 0x21, 0x31, 0x41, 0x06, 0x13, 0x51, 0x61, 0x07, 0x22, 0x71,
    0x14, 0x32, 0x81, 0x91, 0xa1, 0x08, 0x23, 0x42, 0xb1, 0xc1, 0x15, 0x52, 0xd1, 0xf0, 0x24, 0x33, 0x62, 0x72,
    0x82, 0x09, 0x0a, 0x16, 0x17, 0x18, 0x19, 0x1a, 0x25, 0x26, 0x27, 0x28, 0x29, 0x2a, 0x34, 0x35, 0x36, 0x37,
    0x38, 0x39, 0x3a, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48, 0x49, 0x4a, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59,
    0x5a, 0x63, 0x64, 0x65, 0x66, 0x67, 0x68, 0x69, 0x6a, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7a, 0x83,
    0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8a, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99, 0x9a, 0xa2, 0xa3,
    0xa4, 0xa5, 0xa6, 0xa7, 0xa8, 0xa9, 0xaa, 0xb2, 0xb3, 0xb4, 0xb5, 0xb6, 0xb7, 0xb8, 0xb9, 0xba, 0xc2, 0xc3,
    0xc4, 0xc5, 0xc6, 0xc7, 0xc8, 0xc9, 0xca, 0xd2, 0xd3, 0xd4, 0xd5, 0xd6, 0xd7, 0xd8, 0xd9, 0xda, 0xe1, 0xe2,
    0xe3, 0xe4, 0xe5, 0xe6, 0xe7, 0xe8, 0xe9, 0xea, 0xf1, 0xf2, 0xf3, 0xf4, 0xf5, 0xf6, 0xf7, 0xf8, 0xf9, 0xfa};
constexpr std::uint8_t kEndOfBlock = 0x00;
constexpr std::uint8_t kSixteenZeros = 0xf0;

struct Code {
  std::uint32_t bits = 0;
  int length = 0;
};

// Codes of one length count upwards; one bit more doubles the next.
template <std::size_t Values>
constexpr std::array<Code, 256> codes(const std::array<std::uint8_t, 16>& lengths,
                                      const std::array<std::uint8_t, Values>& values) {
  std::array<Code, 256> table{};
  std::uint32_t bits = 0;
  std::size_t next = 0;
  for (std::size_t length = 1; length <= lengths.size(); ++length, bits <<= 1) {
    for (int i = 0; i < lengths[length - 1]; ++i) table[values[next++]] = {bits++, static_cast<int>(length)};
  }
  return table;
}

constexpr auto kMeanCodes = codes(kMeanLengths, kMeanValues);
constexpr auto kDetailCodes = codes(kDetailLengths, kDetailValues);

class BitWriter {
 public:
  explicit BitWriter(Bytes& file) : file_(file) {}
  void put(std::uint32_t bits, int length) {
    for (int i = length - 1; i >= 0; --i) put_bit((bits >> i) & 1);
  }
  // Ones fill the last byte.
  void flush() {
    while (filled_ != 0) put_bit(1);
  }

 private:
  void put_bit(std::uint32_t bit) {
    byte_ = static_cast<std::uint8_t>(std::uint32_t{byte_} << 1 | bit);
    if (++filled_ < 8) return;
    file_.push_back(byte_);
    if (byte_ == 0xff) file_.push_back(0);  // lest it look like a marker
    byte_ = 0;
    filled_ = 0;
  }

  Bytes& file_;
  std::uint8_t byte_ = 0;
  int filled_ = 0;
};

// The number itself, in as many bits as it needs; a negative one as its distance from the lowest of that many bits.
void put_number(BitWriter& writer, int value, int bits) {
  writer.put(static_cast<std::uint32_t>(value < 0 ? value + (1 << bits) - 1 : value), bits);
}

int bits_of(int value) {
  return static_cast<int>(std::bit_width(static_cast<unsigned>(std::abs(value))));
}

double cosine_sum(const Block& block, std::size_t vertical, std::size_t horizontal) {
  static const auto cosines = [] {
    std::array<std::array<double, kSide>, kSide> table{};
    for (std::size_t u = 0; u < kSide; ++u) {
      for (std::size_t x = 0; x < kSide; ++x)
        table[u][x] = std::cos(static_cast<double>((2 * x + 1) * u) * std::numbers::pi / 16);
    }
    return table;
  }();
  double sum = 0;
  for (std::size_t y = 0; y < kSide; ++y) {
    for (std::size_t x = 0; x < kSide; ++x) sum += block[y * kSide + x] * cosines[vertical][y] * cosines[horizontal][x];
  }
  const auto weight = [](std::size_t frequency) { return frequency == 0 ? std::numbers::sqrt2 / 2 : 1; };
  return sum * weight(vertical) * weight(horizontal) / 4;
}

// The mean is told as the difference from the component's last one.
void write_block(BitWriter& writer, const Block& block, int& last_mean) {
  std::array<int, kCoefficients> steps{};
  for (std::size_t i = 0; i < kCoefficients; ++i)
    steps[i] = static_cast<int>(std::lround(cosine_sum(block, kZigzag[i] / kSide, kZigzag[i] % kSide) / step(i)));
  const auto put = [&](const Code& code) { writer.put(code.bits, code.length); };
  const int difference = steps[0] - last_mean;
  last_mean = steps[0];
  put(kMeanCodes[static_cast<std::size_t>(bits_of(difference))]);
  put_number(writer, difference, bits_of(difference));
  int zeros = 0;
  for (std::size_t i = 1; i < kCoefficients; ++i) {
    if (steps[i] == 0) {
      ++zeros;
      continue;
    }
    for (; zeros >= 16; zeros -= 16) put(kDetailCodes[kSixteenZeros]);
    put(kDetailCodes[static_cast<std::size_t>(zeros << 4 | bits_of(steps[i]))]);
    put_number(writer, steps[i], bits_of(steps[i]));
    zeros = 0;
  }
  if (zeros > 0) put(kDetailCodes[kEndOfBlock]);
}

// Around zero, as the cosines want it.
double component(const Pixel& pixel, std::size_t which) {
  const double red = pixel.red, green = pixel.green, blue = pixel.blue;
  switch (which) {
    case 0:
      return 0.299 * red + 0.587 * green + 0.114 * blue - 128;
    case 1:
      return -0.168736 * red - 0.331264 * green + 0.5 * blue;
    default:
      return 0.5 * red - 0.418688 * green - 0.081312 * blue;
  }
}

void append(Bytes& file, std::initializer_list<std::int32_t> bytes) {
  for (const std::int32_t byte : bytes) file.push_back(static_cast<std::uint8_t>(byte));
}

// `kind` 0 for the means, 0x10 for the details.
void append_codes(Bytes& file, std::uint8_t kind, std::span<const std::uint8_t, 16> lengths,
                  std::span<const std::uint8_t> values) {
  append(file, {0xff, 0xc4, 0, static_cast<std::int32_t>(3 + lengths.size() + values.size()), kind});
  for (const std::uint8_t each : lengths) file.push_back(each);
  for (const std::uint8_t each : values) file.push_back(each);
}

void append_head(Bytes& file, std::int32_t width, std::int32_t height) {
  append(file, {0xff, 0xd8});
  append(file, {0xff, 0xe0, 0, 16, 'J', 'F', 'I', 'F', 0, 1, 1, 0, 0, 1, 0, 1, 0, 0});  // pixels are square
  append(file, {0xff, 0xdb, 0, 3 + static_cast<std::int32_t>(kCoefficients), 0});
  for (std::size_t i = 0; i < kCoefficients; ++i) file.push_back(step(i));
  // Eight bits a component; each component sampled once a pixel, with the one table of steps.
  append(file, {0xff, 0xc0, 0, 17, 8, height >> 8, height & 0xff, width >> 8, width & 0xff, 3});
  append(file, {1, 0x11, 0, 2, 0x11, 0, 3, 0x11, 0});
  append_codes(file, 0x00, kMeanLengths, kMeanValues);
  append_codes(file, 0x10, kDetailLengths, kDetailValues);
  append(file, {0xff, 0xda, 0, 12, 3, 1, 0, 2, 0, 3, 0, 0, kCoefficients - 1, 0});
}

}  // namespace

Bytes jpeg_file(std::span<const Pixel> pixels, std::int32_t width, std::int32_t height) {
  Bytes file;
  append_head(file, width, height);
  BitWriter writer(file);
  std::array<int, kComponents> last_means{};
  const auto columns = static_cast<std::size_t>(width);
  for (std::size_t top = 0; top < static_cast<std::size_t>(height); top += kSide) {
    for (std::size_t left = 0; left < columns; left += kSide) {
      for (std::size_t which = 0; which < kComponents; ++which) {
        Block block{};
        for (std::size_t i = 0; i < kCoefficients; ++i)
          block[i] = component(pixels[(top + i / kSide) * columns + left + i % kSide], which);
        write_block(writer, block, last_means[which]);
      }
    }
  }
  writer.flush();
  append(file, {0xff, 0xd9});
  return file;
}

}  // namespace kestrine::simulator
