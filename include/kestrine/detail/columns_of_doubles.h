// The copy of columns.h for elements larger than a cache line, which are mostly doubles: eight neighbours of eight
// elements at a time, by vectors of that size. What is left over goes by narrow ones.
#pragma once

#ifdef __x86_64__

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kestrine/detail/column_places.h"
#include "kestrine/detail/columns_narrow.h"
#include "kestrine/detail/line_vectors.h"

namespace kestrine::detail::doubles {

inline constexpr std::size_t kTogether = 8;  // elements in one step, and doubles in a vector
using Eight [[gnu::vector_size(kTogether * sizeof(double))]] = double;

inline bool is_faster(std::size_t count) {
  return count >= kTogether && has_line_vectors();
}

#define KESTRINE_DOUBLES [[KESTRINE_LINE_VECTORS, gnu::always_inline]] inline

template <std::size_t Stride>
KESTRINE_DOUBLES void load(const std::uint8_t* from, Eight& low, Eight& high) {
  Eight a, b;
  std::memcpy(&a, from, sizeof a);
  std::memcpy(&b, from + Stride, sizeof b);
  low = __builtin_shufflevector(a, b, 0, 8, 2, 10, 4, 12, 6, 14);
  high = __builtin_shufflevector(a, b, 1, 9, 3, 11, 5, 13, 7, 15);
}

// Every other pair of two vectors, from the first on and from the second on.
KESTRINE_DOUBLES void part(const Eight& a, const Eight& b, Eight& even, Eight& odd) {
  even = __builtin_shufflevector(a, b, 0, 1, 4, 5, 8, 9, 12, 13);
  odd = __builtin_shufflevector(a, b, 2, 3, 6, 7, 10, 11, 14, 15);
}

KESTRINE_DOUBLES void store(std::uint8_t* column, std::size_t at, const Eight& values) {
  std::memcpy(column + at * sizeof(double), &values, sizeof values);
}

// Columns 0, 4, 2, 6 of the eight, counted from `to`, from the pairs that the elements have in them.
KESTRINE_DOUBLES void store_half(const Eight& a, const Eight& b, const Eight& c, const Eight& d,
                                 std::uint8_t* const* to, std::size_t at) {
  Eight even_low, odd_low, even_high, odd_high, first, second;
  part(a, b, even_low, odd_low);
  part(c, d, even_high, odd_high);
  part(even_low, even_high, first, second);
  store(to[0], at, first);
  store(to[4], at, second);
  part(odd_low, odd_high, first, second);
  store(to[2], at, first);
  store(to[6], at, second);
}

template <std::size_t Stride>
KESTRINE_DOUBLES void copy_doubles(const std::uint8_t* from, std::uint8_t* const* to, std::size_t at) {
  Eight low_a, low_b, low_c, low_d, high_a, high_b, high_c, high_d;
  load<Stride>(from, low_a, high_a);
  load<Stride>(from + 2 * Stride, low_b, high_b);
  load<Stride>(from + 4 * Stride, low_c, high_c);
  load<Stride>(from + 6 * Stride, low_d, high_d);
  store_half(low_a, low_b, low_c, low_d, to, at);
  store_half(high_a, high_b, high_c, high_d, to + 1, at);
}

template <std::size_t Fields>
constexpr bool are_eight_doubles(const std::array<Place, Fields>& places, std::size_t first) {
  for (std::size_t i = 0; i < kTogether; ++i) {
    if (first + i >= Fields || places[first + i].size != sizeof(double)) return false;
    if (places[first + i].offset != places[first].offset + i * sizeof(double)) return false;
  }
  return true;
}

template <std::size_t Stride, const auto& Places, std::size_t First = 0>
KESTRINE_DOUBLES void copy_eight(const std::uint8_t* from, std::uint8_t* const* to, std::size_t at) {
  if constexpr (First < Places.size()) {
    if constexpr (are_eight_doubles(Places, First)) {
      copy_doubles<Stride>(from + Places[First].offset, to + First, at);
      copy_eight<Stride, Places, First + kTogether>(from, to, at);
    } else {
      constexpr std::size_t kFour = narrow::kTogether;
      narrow::copy_neighbours<Stride, Places, false, First>(from, to, at);
      narrow::copy_neighbours<Stride, Places, false, First>(from + kFour * Stride, to, at + kFour);
      copy_eight<Stride, Places, First + narrow::neighbours(Places, First)>(from, to, at);
    }
  }
}

// At least eight elements.
template <std::size_t Stride, const auto& Places>
[[KESTRINE_LINE_VECTORS]] void copy(const std::uint8_t* from, std::size_t count, Columns<Places> to) {
  std::size_t at = 0;
  for (; at + kTogether <= count; at += kTogether) {
    prefetch<kTogether * Stride>(from + at * Stride, (count - at) * Stride);
    copy_eight<Stride, Places>(from + at * Stride, to.data(), at);
  }
  // The rest together with some that are there already.
  if (at < count) copy_eight<Stride, Places>(from + (count - kTogether) * Stride, to.data(), count - kTogether);
}

#undef KESTRINE_DOUBLES

}  // namespace kestrine::detail::doubles

#endif
