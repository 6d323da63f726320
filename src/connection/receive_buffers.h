// Where received packets lie until the next one of their kind comes: calls and accessors read them here.
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace kestrine::connection {

// The largest packet of a kind is one byte shorter than its buffer.
inline constexpr std::int32_t kLargeBuffer = 131'072;
inline constexpr std::int32_t kSmallBuffer = 1'024;

class ReceiveBuffers {
 public:
  struct Buffer {
    std::uint8_t* bytes;
    std::int32_t capacity;

    std::span<const std::uint8_t> content() const { return {bytes, static_cast<std::size_t>(capacity)}; }
  };

  // Any type that has no buffer of its own counts as a measurement.
  Buffer for_type(std::int32_t data_type);

  // What was read last, which is less than a packet when its rest never came.
  std::span<const std::uint8_t> latest() const { return latest_; }
  void set_latest(std::span<const std::uint8_t> bytes) { latest_ = bytes; }

 private:
  std::array<std::uint8_t, kLargeBuffer> measurement_{};
  std::array<std::uint8_t, kSmallBuffer> status_change_{};
  std::array<std::uint8_t, kLargeBuffer> command_answer_{};
  std::array<std::uint8_t, kSmallBuffer> position_{};
  std::array<std::uint8_t, kSmallBuffer> error_{};
  std::array<std::uint8_t, kSmallBuffer> tiltra_{};
  std::span<const std::uint8_t> latest_;
};

}  // namespace kestrine::connection
