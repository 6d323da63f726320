// Fields of an element, where in it they are, and where a copy of many elements takes them.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

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
  std::size_t number;  // among the fields as the caller names them
};

// The fields in the order of the record.
template <class... Fields>
inline constexpr auto kPlaces = [] {
  std::size_t number = 0;
  std::array<Place, sizeof...(Fields)> places = {Place{Fields::offset, sizeof(typename Fields::Type), number++}...};
  std::ranges::sort(places, {}, &Place::offset);
  return places;
}();

// One address a field. They are handed on by value: what is stored could else be one of them, and all would be loaded
// anew after each store.
template <const auto& Places>
using Columns = std::array<std::uint8_t*, Places.size()>;

// Asks for what comes `Bytes` at a time, as far ahead as a recording takes to arrive from memory, and no farther than
// the elements reach: what lies behind them would only take room in the cache.
template <std::size_t Bytes>
inline void prefetch(const std::uint8_t* from, std::size_t bytes_left) {
  constexpr std::size_t kAhead = 4096;
  constexpr std::size_t kCacheLine = 64;
  if (bytes_left < kAhead + Bytes) return;
  for (std::size_t line = 0; line + kCacheLine <= Bytes; line += kCacheLine) __builtin_prefetch(from + kAhead + line);
}

}  // namespace kestrine::detail
