#include "protocol/codec.h"

namespace kestrine::protocol {
namespace {

template <class Number>
Number load(const void* host) {
  Number number;
  std::memcpy(&number, host, sizeof number);
  return number;
}

template <class Number>
void store(void* host, Number number) {
  std::memcpy(host, &number, sizeof number);
}

}  // namespace

void decode(const Value& value, const std::uint8_t* wire, void* host) {
  switch (value.type) {
    case ValueType::kInt32:
    case ValueType::kFlag:
      return store(host, wire::load_i32(wire));
    case ValueType::kDouble:
      return store(host, wire::load_f64(wire));
    case ValueType::kText:
      for (std::size_t at = 0; at < 2u * value.count; at += 2) {
        store(static_cast<std::uint8_t*>(host) + at, wire::load_u16(wire + at));
      }
      return;
    case ValueType::kBytes:
      std::memcpy(host, wire, value.count);
      return;
    case ValueType::kRecord:
      return decode_record(*value.named, wire, host);
    case ValueType::kObject:
      return;
  }
}

void encode(const Value& value, const void* host, std::uint8_t* wire) {
  switch (value.type) {
    case ValueType::kInt32:
      return wire::store_i32(wire, load<std::int32_t>(host));
    case ValueType::kFlag:
      return wire::store_i32(wire, load<std::int32_t>(host) != 0 ? 1 : 0);
    case ValueType::kDouble:
      return wire::store_f64(wire, load<double>(host));
    case ValueType::kText:
      for (std::size_t at = 0; at < 2u * value.count; at += 2) {
        wire::store_u16(wire + at, load<std::uint16_t>(static_cast<const std::uint8_t*>(host) + at));
      }
      return;
    case ValueType::kBytes:
      std::memcpy(wire, host, value.count);
      return;
    case ValueType::kRecord:
      return encode_record(*value.named, host, wire);
    case ValueType::kObject:
      return;
  }
}

void decode_record(const TypeRow& record, const std::uint8_t* wire, void* host) {
  for (const Value& field : record.fields) {
    if (!is_element(field)) decode(field, wire + field.offset, static_cast<std::uint8_t*>(host) + field.offset);
  }
}

void encode_record(const TypeRow& record, const void* host, std::uint8_t* wire) {
  for (const Value& field : record.fields) {
    if (!is_element(field)) encode(field, static_cast<const std::uint8_t*>(host) + field.offset, wire + field.offset);
  }
}

std::optional<std::span<const std::uint8_t>> counted_bytes(std::span<const std::uint8_t> packet, std::size_t offset) {
  if (packet.size() < offset) return std::nullopt;
  const std::int32_t count = wire::load_i32(packet.data() + offset - sizeof count);
  if (count < 0 || static_cast<std::size_t>(count) > packet.size() - offset) return std::nullopt;
  return packet.subspan(offset, static_cast<std::size_t>(count));
}

}  // namespace kestrine::protocol
