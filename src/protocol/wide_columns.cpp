// The copy of columns by vectors of a whole cache line: for processors that shuffle the words of two such vectors in
// any order, and for elements that are smaller, so that a load brings more than one. It is compiled here, and not where
// an application includes it, so that only this file holds instructions that not every processor has.
//
// The bytes of four elements are loaded as they lie. Shuffles pick the values of neighbouring columns out of them, as
// many columns as a vector has room for, and then join what belongs to one column: of 4 elements, of 8, of 16.
#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <utility>

#include "kestrine/detail/columns.h"
#include "kestrine/records.h"

#ifdef __x86_64__

namespace kestrine::detail {
namespace {

constexpr std::size_t kVector = 64;
constexpr std::size_t kWords = kVector / sizeof(std::int32_t);
constexpr std::size_t kTogether = kWords;  // elements in one step
constexpr std::size_t kLoaded = 4;         // elements that are loaded as they lie
constexpr std::size_t kColumnsAtOnce = 6;  // as many as there are registers for
using Words [[gnu::vector_size(kVector)]] = std::int32_t;
using Order = std::array<int, kWords>;  // words of two vectors, one behind the other; -1 where nothing is wanted

// --- Which words go where

// Columns `First` to `End`, which are stored together.
template <std::size_t Stride, const auto& Places, std::size_t First, std::size_t End>
struct Batch {
  static constexpr std::size_t stride = Stride;
  static constexpr std::size_t first = First;
  static constexpr std::size_t words(std::size_t column) { return Places[column].size / sizeof(std::int32_t); }

  // Neighbours of one size, the asked one among them, whose values of `of` elements fit into one vector: column behind
  // column. A group of few elements contains those of more.
  struct Group {
    std::size_t first, end;
  };
  static constexpr Group group(std::size_t column, std::size_t of) {
    std::size_t low = column;
    std::size_t high = column;
    while (low > First && words(low - 1) == words(column)) --low;
    while (high < End && words(high) == words(column)) ++high;
    const std::size_t room = kWords / (words(column) * of);
    low += (column - low) / room * room;
    return {low, std::min(low + room, high)};
  }

  // What word number `index` of that vector is.
  struct Word {
    std::size_t column, element, part;
  };
  static constexpr Word word_at(std::size_t index, std::size_t column, std::size_t of) {
    const std::size_t size = words(column);
    return {group(column, of).first + index / (size * of), index / size % of, index % size};
  }
  static constexpr std::size_t index_of(const Word& word, std::size_t of) {
    return ((word.column - group(word.column, of).first) * of + word.element) * words(word.column) + word.part;
  }

  // How the vector of all elements is made of those of its two halves.
  static constexpr Order joined(std::size_t column, std::size_t of) {
    const std::size_t half = of / 2;
    Order order{};
    order.fill(-1);
    for (std::size_t i = 0; i < kWords; ++i) {
      const auto [from, element, part] = word_at(i, column, of);
      if (from >= group(column, of).end) continue;
      order[i] = static_cast<int>(index_of({from, element % half, part}, half) + element / half * kWords);
    }
    return order;
  }

  // Loads lie side by side; the last begins early, for behind the elements there may be nothing.
  static constexpr std::size_t loads = (kLoaded * Stride + kVector - 1) / kVector;
  static constexpr std::size_t start(std::size_t load) { return std::min(load * kVector, kLoaded * Stride - kVector); }

  // The loads that bring the values of a group, those that bring most first; and how each adds its own to what is
  // there.
  struct Picks {
    std::size_t count = 0;
    std::array<std::size_t, loads> load{};
    std::array<Order, loads> order{};
  };
  static constexpr Picks picked(std::size_t column) {
    Picks picks;
    Order there{};  // where the words stand that are picked already
    there.fill(-1);
    const auto word_in = [&](std::size_t load, std::size_t i) {  // -1 if it isn't there, or not wanted
      const auto [from, element, part] = word_at(i, column, kLoaded);
      if (from >= group(column, kLoaded).end || there[i] >= 0) return -1;
      const std::size_t offset = element * Stride + Places[from].offset + part * sizeof(std::int32_t);
      const bool is_in = offset >= start(load) && offset < start(load) + kVector;
      return is_in ? static_cast<int>((offset - start(load)) / sizeof(std::int32_t)) : -1;
    };
    const auto words_in = [&](std::size_t load) {
      std::size_t many = 0;
      for (std::size_t i = 0; i < kWords; ++i) many += word_in(load, i) >= 0;
      return many;
    };
    for (;;) {
      std::size_t best = 0;
      for (std::size_t load = 1; load < loads; ++load) {
        if (words_in(load) > words_in(best)) best = load;
      }
      if (words_in(best) == 0) return picks;
      Order order = there;
      for (std::size_t i = 0; i < kWords; ++i) {
        if (const int word = word_in(best, i); word >= 0) order[i] = word + static_cast<int>(kWords);
      }
      for (std::size_t i = 0; i < kWords; ++i) {
        // The first load stands as it lies, all later vectors as they are wanted.
        if (order[i] >= 0) there[i] = picks.count == 0 ? order[i] - static_cast<int>(kWords) : static_cast<int>(i);
      }
      picks.order[picks.count] = order;
      picks.load[picks.count++] = best;
    }
  }
};

// --- Moving them
//
// Vectors are handed on by reference only: by value they would be a matter of calling conventions.

#define KESTRINE_WIDE [[gnu::target("avx512f"), gnu::always_inline]] inline

template <const auto& Order, std::size_t... Word>
KESTRINE_WIDE void shuffle(const Words& low, const Words& high, Words& to, std::index_sequence<Word...>) {
  to = __builtin_shufflevector(low, high, Order[Word]...);
}

template <class Batch, std::size_t Column>
inline constexpr auto kPicked = Batch::picked(Column);
template <class Batch, std::size_t Column, std::size_t Pick>
inline constexpr Order kPickedBy = kPicked<Batch, Column>.order[Pick];
template <class Batch, std::size_t Column, std::size_t Of>
inline constexpr Order kJoined = Batch::joined(Column, Of);

// The values that the four elements here have in the group of a column, as far as the first loads bring them.
template <class Batch, std::size_t Column, std::size_t Loads>
KESTRINE_WIDE void pick(const std::uint8_t* from, Words& values) {
  Words load;
  std::memcpy(&load, from + Batch::start(kPicked<Batch, Column>.load[Loads - 1]), sizeof load);
  if constexpr (Loads == 1) {
    values = load;
  } else {
    Words before;
    pick<Batch, Column, Loads - 1>(from, before);
    shuffle<kPickedBy<Batch, Column, Loads - 1>>(before, load, values, std::make_index_sequence<kWords>());
  }
}

// The values of `Of` elements.
template <class Batch, std::size_t Column, std::size_t Of>
KESTRINE_WIDE void collect(const std::uint8_t* from, Words& values) {
  if constexpr (Of == kLoaded) {
    static_assert(kPicked<Batch, Column>.count > 1, "no load has room for four elements");
    pick<Batch, Column, kPicked<Batch, Column>.count>(from, values);
  } else {
    Words low, high;
    collect<Batch, Column, Of / 2>(from, low);
    collect<Batch, Column, Of / 2>(from + Of / 2 * Batch::stride, high);
    shuffle<kJoined<Batch, Column, Of>>(low, high, values, std::make_index_sequence<kWords>());
  }
}

template <class Batch, std::size_t Column>
KESTRINE_WIDE void collect_column(const std::uint8_t* from, Words (&values)[2]) {
  constexpr std::size_t kElements = kWords / Batch::words(Column);  // whose values fill a vector
  collect<Batch, Column, kElements>(from, values[0]);
  if constexpr (kElements < kTogether) collect<Batch, Column, kElements>(from + kElements * Batch::stride, values[1]);
}

template <class Batch, std::size_t Column>
KESTRINE_WIDE void store_column(std::uint8_t* to, std::size_t at, const Words (&values)[2]) {
  to += at * Batch::words(Column) * sizeof(std::int32_t);
  std::memcpy(to, &values[0], kVector);
  if constexpr (Batch::words(Column) == 2) std::memcpy(to + kVector, &values[1], kVector);
}

template <class Batch, std::size_t... Column>
KESTRINE_WIDE void copy_batch(const std::uint8_t* from, const auto& to, std::size_t at,
                              std::index_sequence<Column...>) {
  // All are there before the first is stored: what they share is loaded once.
  Words values[sizeof...(Column)][2];
  (collect_column<Batch, Batch::first + Column>(from, values[Column]), ...);
  (store_column<Batch, Batch::first + Column>(to[Batch::first + Column], at, values[Column]), ...);
}

// Sixteen elements, the first of which becomes number `at` of its arrays.
template <std::size_t Stride, const auto& Places, std::size_t First = 0>
KESTRINE_WIDE void copy_together(const std::uint8_t* from, const auto& to, std::size_t at) {
  if constexpr (First < Places.size()) {
    constexpr std::size_t kEnd = std::min(First + kColumnsAtOnce, Places.size());
    copy_batch<Batch<Stride, Places, First, kEnd>>(from, to, at, std::make_index_sequence<kEnd - First>());
    copy_together<Stride, Places, kEnd>(from, to, at);
  }
}

#undef KESTRINE_WIDE

// The fields of a point, of which a set has one bit each.
using V = MeasValueT;
constexpr auto& kPointPlaces = kPlaces<Field<&V::status>, Field<&V::lTime1>, Field<&V::lTime2>, Field<&V::dVal1>,
                                       Field<&V::dVal2>, Field<&V::dVal3>>;
constexpr std::size_t kSets = std::size_t{1} << kPointPlaces.size();
constexpr std::size_t kStride = RecordTraits<V>::size;

template <std::size_t Set>
constexpr auto kPlacesOf = [] {
  std::array<Place, std::popcount(Set)> places{};
  std::size_t many = 0;
  for (std::size_t i = 0; i < kPointPlaces.size(); ++i) {
    if ((Set >> i & 1) != 0) places[many++] = kPointPlaces[i];
  }
  return places;
}();

// At least sixteen elements.
template <std::size_t Set>
[[gnu::target("avx512f")]] void copy(const std::uint8_t* from, std::size_t count, std::uint8_t* const* columns) {
  constexpr const auto& kFields = kPlacesOf<Set>;
  Columns<kFields> to;
  for (std::size_t i = 0; i < to.size(); ++i) to[i] = columns[i];
  std::size_t at = 0;
  for (; at + kTogether <= count; at += kTogether) {
    prefetch<kTogether * kStride>(from + at * kStride, (count - at) * kStride);
    copy_together<kStride, kFields>(from + at * kStride, to, at);
  }
  // The rest together with some that are there already.
  if (at < count) copy_together<kStride, kFields>(from + (count - kTogether) * kStride, to, count - kTogether);
}

using Copy = void (*)(const std::uint8_t* from, std::size_t count, std::uint8_t* const* columns);

template <std::size_t... Set>
constexpr std::array<Copy, kSets> copies_of(std::index_sequence<Set...>) {
  return {nullptr, copy<Set + 1>...};
}
constexpr auto kCopies = copies_of(std::make_index_sequence<kSets - 1>());

}  // namespace

bool copy_by_cache_lines(const std::uint8_t* from, std::size_t count, std::size_t stride, std::span<const Place> places,
                         std::uint8_t* const* to) {
  // Of fewer elements the narrow copy is faster.
  if (stride != kStride || count < 4 * kTogether || !__builtin_cpu_supports("avx512f")) return false;
  std::size_t set = 0;
  for (const Place& place : places) {
    const auto at = std::ranges::find(kPointPlaces, place.offset, &Place::offset);
    const std::size_t bit = std::size_t{1} << (at - kPointPlaces.begin());
    if ((set & bit) != 0) return false;
    set |= bit;
  }
  kCopies[set](from, count, to);
  return true;
}

}  // namespace kestrine::detail

#else

bool kestrine::detail::copy_by_cache_lines(const std::uint8_t*, std::size_t, std::size_t, std::span<const Place>,
                                           std::uint8_t* const*) {
  return false;
}

#endif
