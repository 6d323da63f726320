#include "random_packet.h"

#include <cstdio>

#include "kestrine/text.h"
#include "kestrine/wire.h"

namespace kestrine::test {
namespace {

// Now and then of the field's whole length; what lies behind the end is no text.
void put_text(const protocol::Value& field, Bytes& packet, std::mt19937& random) {
  const std::size_t length = random() % (field.count + 1u);
  for (std::size_t i = 0; i < field.count; ++i) {
    const auto unit = static_cast<std::uint16_t>(i == length ? 0 : 0x3B1 + random() % 25);
    wire::store_u16(&packet[field.offset + 2 * i], unit);
  }
}

}  // namespace

std::string tell(std::int32_t value) {
  return std::to_string(value);
}

std::string tell(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

std::string tell_flag(std::int16_t value) {
  return std::string("b").append(std::to_string(value));
}

std::string tell_text(std::u16string_view text) {
  return std::string("'").append(to_utf8(text)).append("'");
}

std::string tell_bytes(std::span<const std::uint8_t> bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    text += {kDigits[byte >> 4], kDigits[byte & 15]};
  }
  return text;
}

std::int32_t random_long(std::mt19937& random) {
  return static_cast<std::int32_t>(random() | 1u);
}

double random_double(std::mt19937& random) {
  return std::uniform_real_distribution(-1e100, 1e100)(random);
}

std::int32_t random_flag(std::mt19937& random) {
  constexpr std::int32_t kFlags[] = {0, 1, -1, 2, 0x8000, 0x12345678};
  return kFlags[random() % std::size(kFlags)];
}

Bytes random_packet(const protocol::TypeRow& record, std::int32_t type, std::mt19937& random) {
  using protocol::ValueType;
  Bytes bytes = packet(record.size, type);
  for (const protocol::Value& field : protocol::leaves_of(record)) {
    if (field.offset < 8) continue;
    if (field.type == ValueType::kInt32) put_i32(bytes, field.offset, random_long(random));
    if (field.type == ValueType::kFlag) put_i32(bytes, field.offset, random_flag(random));
    if (field.type == ValueType::kDouble) put_f64(bytes, field.offset, random_double(random));
    if (field.type == ValueType::kText) put_text(field, bytes, random);
  }
  return bytes;
}

std::string tell_field(const protocol::Value& field, const Bytes& packet) {
  using protocol::ValueType;
  const std::uint8_t* at = &packet[field.offset];
  if (field.type == ValueType::kInt32) return tell(wire::load_i32(at));
  if (field.type == ValueType::kDouble) return tell(wire::load_f64(at));
  if (field.type == ValueType::kFlag) return tell_flag(static_cast<std::int16_t>(wire::load_i32(at) & 0xFFFF));
  if (field.type != ValueType::kText) return "bytes";
  std::u16string text;
  for (std::size_t i = 0; i < field.count && wire::load_u16(at + 2 * i) != 0; ++i) {
    text += static_cast<char16_t>(wire::load_u16(at + 2 * i));
  }
  return tell_text(text);
}

}  // namespace kestrine::test
