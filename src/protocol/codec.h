// Between the bytes of packets and the host's memory, value by value along the rows of the catalogue.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "kestrine/wire.h"
#include "protocol/catalogue.h"

namespace kestrine::protocol {

// `wire` and `host` are the places of the value itself. In the host's memory a record lies as its structure does
// (kestrine/records.h), and a flag is a 32-bit number: whatever was received, and sent as 0 or 1.
void decode(const Value& value, const std::uint8_t* wire, void* host);
void encode(const Value& value, const void* host, std::uint8_t* wire);

// A whole record but for the elements that follow it.
void decode_record(const TypeRow& record, const std::uint8_t* wire, void* host);
void encode_record(const TypeRow& record, const void* host, std::uint8_t* wire);

// The bytes from the offset on, as many as the number before them says; none when the packet does not hold so many.
std::optional<std::span<const std::uint8_t>> counted_bytes(std::span<const std::uint8_t> packet, std::size_t offset);

// A request packet: 12 bytes that every request begins with, then the parameters. The longest has 128 bytes.
struct Request {
  std::array<std::uint8_t, 128> bytes{};
  std::uint16_t size = 0;

  // The data type of a request is 0, which the bytes hold already.
  Request(std::int32_t command, std::uint16_t packet_size) : size(packet_size) {
    put_int32(0, packet_size);
    put_int32(8, command);
  }

  // What stands where the parameters begin.
  std::int32_t first_integer() const { return wire::load_i32(&bytes[12]); }
  void put_int32(std::size_t offset, std::int32_t value) { wire::store_i32(&bytes[offset], value); }
  void put_bool(std::size_t offset, std::int32_t value) { put_int32(offset, value != 0 ? 1 : 0); }
  void put_double(std::size_t offset, double value) { wire::store_f64(&bytes[offset], value); }
};

}  // namespace kestrine::protocol
