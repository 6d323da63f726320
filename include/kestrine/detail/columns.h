// Fields of consecutive elements, sorted into one array a field.
//
// What such a copy costs is its loads and stores: fields taken one by one need one each. So it sorts several elements
// at a time in vectors, which are gcc's and clang's own. Stores past the cache and, by way of the library, wider
// vectors are taken where the processor has them.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <type_traits>

#include "kestrine/detail/column_places.h"
#include "kestrine/detail/columns_narrow.h"
#include "kestrine/export.h"
#include "kestrine/wire.h"

namespace kestrine::detail {

template <class Value>
Value load_value(const std::uint8_t* from) {
  if constexpr (std::is_same_v<Value, double>) {
    return wire::load_f64(from);
  } else {
    return static_cast<Value>(wire::load_i32(from));
  }
}

// Columns as the caller names them, in the order of the record.
template <class... Fields>
auto columns_of(typename Fields::Type*... to) {
  std::uint8_t* const given[] = {reinterpret_cast<std::uint8_t*>(to)...};
  Columns<kPlaces<Fields...>> columns;
  for (std::size_t i = 0; i < columns.size(); ++i) columns[i] = given[kPlaces<Fields...>[i].number];
  return columns;
}

// The copy by vectors of a whole cache line, of `places` in the order of the record into as many columns. False, and
// nothing is done, where the processor has no such vectors or narrow ones are faster.
KESTRINE_HOST_API bool copy_by_cache_lines(const std::uint8_t* from, std::size_t count, std::size_t stride,
                                           std::span<const Place> places, std::uint8_t* const* to);

// The fields of `count` elements that lie `Stride` bytes apart. Past the cache is faster into arrays that have no place
// in it, and slower into all others.
template <std::size_t Stride, class... Fields>
void copy_columns(const std::uint8_t* from, std::size_t count, bool past_cache, typename Fields::Type*... to) {
  constexpr const auto& kFields = kPlaces<Fields...>;
  const auto one_by_one = [from, to...](std::size_t elements) {
    for (std::size_t i = 0; i < elements; ++i) {
      ((to[i] = load_value<typename Fields::Type>(from + i * Stride + Fields::offset)), ...);
    }
  };
  if (std::endian::native != std::endian::little || count < narrow::kTogether) return one_by_one(count);
  auto columns = columns_of<Fields...>(to...);
  if (past_cache) {
    const std::optional<std::size_t> few = narrow::elements_to_bounds<kFields>(columns);
    if (few && *few + narrow::kTogether <= count) {
      one_by_one(*few);
      for (std::size_t i = 0; i < columns.size(); ++i) columns[i] += *few * kFields[i].size;
      return narrow::copy<Stride, kFields, true>(from + *few * Stride, count - *few, columns);
    }
  }
  if (copy_by_cache_lines(from, count, Stride, kFields, columns.data())) return;
  narrow::copy<Stride, kFields, false>(from, count, columns);
}

}  // namespace kestrine::detail
