// Bytes as the server writes them: little-endian, 32-bit integers, 64-bit floating point, UTF-16 texts, no
// padding. These functions read and write single values at any address, whatever the host's own byte order.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kestrine::wire {

inline std::uint16_t load_u16(const std::uint8_t* at) {
  return static_cast<std::uint16_t>(at[0] | (at[1] << 8));
}

inline std::uint32_t load_u32(const std::uint8_t* at) {
  return std::uint32_t{at[0]} | std::uint32_t{at[1]} << 8 | std::uint32_t{at[2]} << 16 | std::uint32_t{at[3]} << 24;
}

inline std::uint64_t load_u64(const std::uint8_t* at) {
  return std::uint64_t{load_u32(at)} | std::uint64_t{load_u32(at + 4)} << 32;
}

inline std::int32_t load_i32(const std::uint8_t* at) {
  return static_cast<std::int32_t>(load_u32(at));
}

inline double load_f64(const std::uint8_t* at) {
  return std::bit_cast<double>(load_u64(at));
}

inline void store_u16(std::uint8_t* at, std::uint16_t value) {
  at[0] = static_cast<std::uint8_t>(value);
  at[1] = static_cast<std::uint8_t>(value >> 8);
}

inline void store_u32(std::uint8_t* at, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) at[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

inline void store_u64(std::uint8_t* at, std::uint64_t value) {
  for (int i = 0; i < 8; ++i) at[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

inline void store_i32(std::uint8_t* at, std::int32_t value) {
  store_u32(at, static_cast<std::uint32_t>(value));
}

inline void store_f64(std::uint8_t* at, double value) {
  store_u64(at, std::bit_cast<std::uint64_t>(value));
}

// Texts are arrays of UTF-16 units that end at their first zero, or at the array's end when there is none.
inline void load_text(const std::uint8_t* at, char16_t* units, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) units[i] = static_cast<char16_t>(load_u16(at + 2 * i));
}

inline void store_text(std::uint8_t* at, const char16_t* units, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) store_u16(at + 2 * i, static_cast<std::uint16_t>(units[i]));
}

}  // namespace kestrine::wire
