// The copy of columns.h by vectors of 16 bytes, which every processor has.
//
// Neighbouring fields come together in one vector, and those of four elements are sorted in registers.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

#include "kestrine/detail/column_places.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace kestrine::detail::narrow {

inline constexpr std::size_t kVector = 16;
inline constexpr std::size_t kTogether = 4;  // elements in one step

using Words [[gnu::vector_size(kVector)]] = std::int32_t;
using Doubles [[gnu::vector_size(kVector)]] = double;

template <class Vector>
[[gnu::always_inline]] inline Vector load(const std::uint8_t* from) {
  Vector vector;
  std::memcpy(&vector, from, sizeof vector);
  return vector;
}

// Past the cache only where vectors may lie: on bounds of their own size.
template <bool PastCache, class Vector>
[[gnu::always_inline]] inline void store(std::uint8_t* to, const Vector& vector) {
#ifdef __SSE2__
  if constexpr (PastCache) {
    _mm_stream_si128(reinterpret_cast<__m128i*>(to), reinterpret_cast<__m128i>(vector));
    return;
  }
#endif
  std::memcpy(to, &vector, kVector);
}

// How many of the fields, from `first` on, one vector brings.
template <std::size_t Fields>
constexpr std::size_t neighbours(const std::array<Place, Fields>& places, std::size_t first) {
  const auto [offset, size, number] = places[first];
  std::size_t many = 1;
  while (first + many < Fields && (many + 1) * size <= kVector && places[first + many].size == size &&
         places[first + many].offset == offset + many * size) {
    ++many;
  }
  return many;
}

// One to four neighbouring words of four elements.
template <std::size_t Stride, std::size_t Many, bool PastCache>
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
  for (std::size_t i = 0; i < Many; ++i) store<PastCache>(to[i] + at * sizeof(std::int32_t), columns[i]);
}

// One or two neighbouring doubles of four elements.
template <std::size_t Stride, std::size_t Many, bool IsHigh, bool PastCache>
[[gnu::always_inline]] inline void copy_doubles(const std::uint8_t* from, std::uint8_t* const* to, std::size_t at) {
  for (std::size_t half = 0; half < kTogether; half += 2, from += 2 * Stride) {
    const Doubles a = load<Doubles>(from);
    const Doubles b = load<Doubles>(from + Stride);
    const Doubles low = __builtin_shufflevector(a, b, 0, 2);
    const Doubles high = __builtin_shufflevector(a, b, 1, 3);
    const std::size_t offset = (at + half) * sizeof(double);
    store<PastCache>(to[0] + offset, IsHigh ? high : low);
    if constexpr (Many == 2) store<PastCache>(to[1] + offset, high);
  }
}

// Neighbouring columns from `First` on of four elements, the first of which becomes number `at` of its arrays.
template <std::size_t Stride, const auto& Places, bool PastCache, std::size_t First>
[[gnu::always_inline]] inline void copy_neighbours(const std::uint8_t* from, std::uint8_t* const* to, std::size_t at) {
  constexpr std::size_t kMany = neighbours(Places, First);
  constexpr auto kPlace = Places[First];
  // The vector of a record's last double begins one double early: behind it there may be nothing.
  constexpr bool kIsLast = kPlace.offset + kVector > Stride;
  if constexpr (kPlace.size == sizeof(double)) {
    constexpr std::size_t kStart = kIsLast ? kPlace.offset - sizeof(double) : kPlace.offset;
    copy_doubles<Stride, kMany, kIsLast, PastCache>(from + kStart, to + First, at);
  } else {
    static_assert(!kIsLast, "words come first in every element");
    copy_words<Stride, kMany, PastCache>(from + kPlace.offset, to + First, at);
  }
}

template <std::size_t Stride, const auto& Places, bool PastCache, std::size_t First = 0>
[[gnu::always_inline]] inline void copy_four(const std::uint8_t* from, std::uint8_t* const* to, std::size_t at) {
  if constexpr (First < Places.size()) {
    copy_neighbours<Stride, Places, PastCache, First>(from, to, at);
    copy_four<Stride, Places, PastCache, First + neighbours(Places, First)>(from, to, at);
  }
}

// At least four elements.
template <std::size_t Stride, const auto& Places, bool PastCache>
void copy(const std::uint8_t* from, std::size_t count, Columns<Places> to) {
  std::size_t at = 0;
  for (; at + kTogether <= count; at += kTogether) {
    prefetch<kTogether * Stride>(from + at * Stride, (count - at) * Stride);
    copy_four<Stride, Places, PastCache>(from + at * Stride, to.data(), at);
  }
  // The rest together with some that are there already.
  if (at < count) copy_four<Stride, Places, false>(from + (count - kTogether) * Stride, to.data(), count - kTogether);
#ifdef __SSE2__
  if constexpr (PastCache) _mm_sfence();  // such stores are in no order with those of other threads
#endif
}

// How many elements from the start of the columns on all of them lie where vectors may go past the cache; nothing where
// they never do together.
template <const auto& Places>
std::optional<std::size_t> elements_to_bounds(const Columns<Places>& columns) {
  for (std::size_t elements = 0; elements < kTogether; ++elements) {
    std::uintptr_t beyond = 0;
    for (std::size_t i = 0; i < columns.size(); ++i) {
      beyond |= reinterpret_cast<std::uintptr_t>(columns[i]) + elements * Places[i].size;
    }
    if (beyond % kVector == 0) return elements;
  }
  return std::nullopt;
}

}  // namespace kestrine::detail::narrow
