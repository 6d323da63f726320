// A request packet: 12 bytes that every request begins with, then the parameters. The longest has 128 bytes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "kestrine/wire.h"

namespace kestrine::protocol {

struct Request {
  std::array<std::uint8_t, 128> bytes{};
  std::uint16_t size = 0;

  // The data type of a request is 0, which the bytes hold already.
  Request(std::int32_t command, std::uint16_t packet_size) : size(packet_size) {
    put_int32(0, packet_size);
    put_int32(8, command);
  }

  void put_int32(std::size_t offset, std::int32_t value) { wire::store_i32(&bytes[offset], value); }
  void put_bool(std::size_t offset, std::int32_t value) { put_int32(offset, value != 0 ? 1 : 0); }
  void put_double(std::size_t offset, double value) { wire::store_f64(&bytes[offset], value); }
};

}  // namespace kestrine::protocol
