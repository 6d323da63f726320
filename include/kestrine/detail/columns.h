// Fields of consecutive elements, sorted into one array a field.
//
// What such a copy costs is its loads: fields taken one by one need one each. So neighbours come together in one
// vector of 16 bytes, and those of four elements are sorted in registers. Only gcc's and clang's own vectors make them
// do so; every processor has some that are this wide.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "kestrine/wire.h"

namespace kestrine::detail {

// The offset of a field as a constant, for which the language has no word: reads the field out of a record in which
// every word holds its own number.
template <class Record, class Value>
consteval std::size_t offset_of(Value Record::*field) {
  std::array<std::int32_t, sizeof(Record) / 4> words{};
  for (std::size_t i = 0; i < words.size(); ++i) words[i] = static_cast<std::int32_t>(i);
  const Value value = std::bit_cast<Record>(words).*field;
  return static_cast<std::size_t>(4 * std::bit_cast<std::array<std::int32_t, sizeof(Value) / 4>>(value)[0]);
}

template <auto Member>
struct Field;
template <class Record, class Value, Value Record::*Member>
struct Field<Member> {
  static_assert(std::is_same_v<Value, double> || std::is_same_v<Value, std::int32_t> || std::is_enum_v<Value>);
  using Type = Value;
  static constexpr std::size_t offset = offset_of(Member);
};

struct Place {
  std::size_t offset;
  std::size_t size;
};

inline constexpr std::size_t kVector = 16;
inline constexpr std::size_t kTogether = 4;  // elements in one step
// Far enough ahead for a recording that comes from memory to arrive in time. A block in the cache loses little by it,
// and looking behind the end of the packet does no harm.
inline constexpr std::size_t kAhead = 4096;
inline constexpr std::size_t kCacheLine = 64;

using Words [[gnu::vector_size(kVector)]] = std::int32_t;
using Doubles [[gnu::vector_size(kVector)]] = double;

template <class Vector>
[[gnu::always_inline]] inline Vector load(const std::uint8_t* from) {
  Vector vector;
  std::memcpy(&vector, from, sizeof vector);
  return vector;
}

// How many of the fields, from `first` on, one vector brings.
template <std::size_t Fields>
constexpr std::size_t neighbours(const std::array<Place, Fields>& places, std::size_t first) {
  const auto [offset, size] = places[first];
  std::size_t many = 1;
  while (first + many < Fields && (many + 1) * size <= kVector && places[first + many].size == size &&
         places[first + many].offset == offset + many * size) {
    ++many;
  }
  return many;
}

// One to four neighbouring words of four elements.
template <std::size_t Stride, std::size_t Many>
[[gnu::always_inline]] inline void copy_words(const std::uint8_t* from, std::uint8_t* const* to, std::size_t at) {
  const Words a = load<Words>(from);
  const Words b = load<Words>(from + Stride);
  const Words c = load<Words>(from + 2 * Stride);
  const Words d = load<Words>(from + 3 * Stride);
  const Words low_ab = __builtin_shufflevector(a, b, 0, 4, 1, 5);
  const Words low_cd = __builtin_shufflevector(c, d, 0, 4, 1, 5);
  const Words high_ab = __builtin_shufflevector(a, b, 2, 6, 3, 7);
  const Words high_cd = __builtin_shufflevector(c, d, 2, 6, 3, 7);
  const Words columns[] = {
      __builtin_shufflevector(low_ab, low_cd, 0, 1, 4, 5), __builtin_shufflevector(low_ab, low_cd, 2, 3, 6, 7),
      __builtin_shufflevector(high_ab, high_cd, 0, 1, 4, 5), __builtin_shufflevector(high_ab, high_cd, 2, 3, 6, 7)};
  for (std::size_t i = 0; i < Many; ++i) std::memcpy(to[i] + at * sizeof(std::int32_t), &columns[i], kVector);
}

// One or two neighbouring doubles of four elements.
template <std::size_t Stride, std::size_t Many, bool IsHigh>
[[gnu::always_inline]] inline void copy_doubles(const std::uint8_t* from, std::uint8_t* const* to, std::size_t at) {
  for (std::size_t half = 0; half < kTogether; half += 2, from += 2 * Stride) {
    const Doubles a = load<Doubles>(from);
    const Doubles b = load<Doubles>(from + Stride);
    const Doubles low = __builtin_shufflevector(a, b, 0, 2);
    const Doubles high = __builtin_shufflevector(a, b, 1, 3);
    const std::size_t offset = (at + half) * sizeof(double);
    std::memcpy(to[0] + offset, IsHigh ? &high : &low, kVector);
    if constexpr (Many == 2) std::memcpy(to[1] + offset, &high, kVector);
  }
}

// Four elements, the first of which becomes number `at` of its arrays.
template <std::size_t Stride, const auto& Places, std::size_t First = 0>
[[gnu::always_inline]] inline void copy_four(const std::uint8_t* from, std::uint8_t* const* to, std::size_t at) {
  if constexpr (First < Places.size()) {
    constexpr std::size_t kMany = neighbours(Places, First);
    constexpr auto kPlace = Places[First];
    // The vector of a record's last double begins one double early: behind it there may be nothing.
    constexpr bool kIsLast = kPlace.offset + kVector > Stride;
    if constexpr (kPlace.size == sizeof(double)) {
      constexpr std::size_t kStart = kIsLast ? kPlace.offset - sizeof(double) : kPlace.offset;
      copy_doubles<Stride, kMany, kIsLast>(from + kStart, to + First, at);
    } else {
      static_assert(!kIsLast, "words come first in every element");
      copy_words<Stride, kMany>(from + kPlace.offset, to + First, at);
    }
    copy_four<Stride, Places, First + kMany>(from, to, at);
  }
}

template <class Value>
Value load_value(const std::uint8_t* from) {
  if constexpr (std::is_same_v<Value, double>) {
    return wire::load_f64(from);
  } else {
    return static_cast<Value>(wire::load_i32(from));
  }
}

template <class... Fields>
inline constexpr std::array<Place, sizeof...(Fields)> kPlaces = {
    Place{Fields::offset, sizeof(typename Fields::Type)}...};

// The fields of `count` elements that lie `Stride` bytes apart.
template <std::size_t Stride, class... Fields>
void copy_columns(const std::uint8_t* from, std::size_t count, typename Fields::Type*... to) {
  std::size_t at = 0;
  if constexpr (std::endian::native == std::endian::little) {
    std::uint8_t* const columns[] = {reinterpret_cast<std::uint8_t*>(to)...};
    for (; at + kTogether <= count; at += kTogether, from += kTogether * Stride) {
      for (std::size_t line = 0; line + kCacheLine <= kTogether * Stride; line += kCacheLine) {
        __builtin_prefetch(from + kAhead + line);
      }
      copy_four<Stride, kPlaces<Fields...>>(from, columns, at);
    }
  }
  for (; at < count; ++at, from += Stride) ((to[at] = load_value<typename Fields::Type>(from + Fields::offset)), ...);
}

}  // namespace kestrine::detail
