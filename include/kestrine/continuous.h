// Continuous packets for native code: elements and whole columns straight out of the packet's bytes, beside the
// accessors of ILTConnect that hand out one element a call.
//
//   if (const auto points = ContinuousView<MultiMeasResultT>::of(bytes)) {
//     for (const MeasValueT& point : *points) ...
//     points->copy<&MeasValueT::lTime1, &MeasValueT::dVal1>(times, values);
//   }
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <span>
#include <stdexcept>

#include "kestrine/detail/columns.h"
#include "kestrine/records.h"
#include "kestrine/wire.h"

namespace kestrine {

// Where the elements of a continuous packet lie, and the type by which its header tells it from others.
template <class Packet, VL_DataType Type>
struct ElementLayout {
  static constexpr VL_DataType type = Type;
  static constexpr std::size_t count = offsetof(Packet, lNumberOfResults);
  static constexpr std::size_t first = RecordTraits<Packet>::header_size;
  static constexpr std::size_t size = RecordTraits<typename RecordTraits<Packet>::Element>::size;
};

template <class Packet>
struct ContinuousLayout;
template <>
struct ContinuousLayout<MultiMeasResultT> : ElementLayout<MultiMeasResultT, VL_DT_MultiMeasResult> {};
template <>
struct ContinuousLayout<MultiMeasResult2T> : ElementLayout<MultiMeasResult2T, VL_DT_MultiMeasResult2> {};
template <>
struct ContinuousLayout<ProbeContinuousResultT>
    : ElementLayout<ProbeContinuousResultT, VL_DT_ContinuousProbeMeasResult> {};

// A packet of MultiMeasResultT, MultiMeasResult2T or ProbeContinuousResultT. It refers to the bytes it was made of.
template <class Packet>
class ContinuousView {
 public:
  using Element = typename RecordTraits<Packet>::Element;
  using Layout = ContinuousLayout<Packet>;

  // Nothing for a packet of another type, and none for one whose count is negative or promises more elements than
  // there are bytes: cut short, it would pass for a whole one. Bytes behind the last element are ignored.
  static std::optional<ContinuousView> of(std::span<const std::uint8_t> bytes) {
    if (bytes.size() < Layout::first) return std::nullopt;
    const auto type = static_cast<VL_DataType>(wire::load_i32(bytes.data() + offsetof(PacketHeaderT, type)));
    const std::int32_t count = wire::load_i32(bytes.data() + Layout::count);
    if (type != Layout::type || count < 0) return std::nullopt;
    const auto size = static_cast<std::size_t>(count);
    if (size > (bytes.size() - Layout::first) / Layout::size) return std::nullopt;
    return ContinuousView(bytes.data(), size);
  }

  // What holds for all elements; its own `data` is left zero.
  Packet header() const { return read_as<Packet>(packet_); }

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  Element operator[](std::size_t index) const {  // index < size()
    return read_element<Packet>(packet_, index);
  }

  // Hands out elements by value: those in the packet lie at any address and in the server's byte order. Nothing is
  // copied for it: what a loop takes of an element is loaded from the packet, field by field.
  class iterator {
   public:
    using iterator_concept = std::random_access_iterator_tag;
    using iterator_category = std::input_iterator_tag;
    using value_type = Element;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = Element;

    iterator() = default;
    [[gnu::always_inline]] Element operator*() const { return read_as<Element>(at_); }
    Element operator[](difference_type steps) const { return *(*this + steps); }
    iterator& operator+=(difference_type steps) { return at_ += steps * kStep, *this; }
    iterator& operator-=(difference_type steps) { return *this += -steps; }
    iterator& operator++() { return *this += 1; }
    iterator& operator--() { return *this -= 1; }
    iterator operator++(int) { return ++*this - 1; }
    iterator operator--(int) { return --*this + 1; }
    friend iterator operator+(iterator at, difference_type steps) { return at += steps; }
    friend iterator operator+(difference_type steps, iterator at) { return at += steps; }
    friend iterator operator-(iterator at, difference_type steps) { return at -= steps; }
    friend difference_type operator-(iterator to, iterator from) { return (to.at_ - from.at_) / kStep; }
    friend auto operator<=>(const iterator&, const iterator&) = default;

   private:
    friend ContinuousView;
    static constexpr difference_type kStep = Layout::size;
    explicit iterator(const std::uint8_t* at) : at_(at) {}
    const std::uint8_t* at_ = nullptr;
  };

  iterator begin() const { return iterator(packet_ + Layout::first); }
  iterator end() const { return begin() + static_cast<std::ptrdiff_t>(size_); }

  // Copies the named fields of all elements, each to the front of an array of its own. An array too short for them
  // throws before anything is written; none may overlap the packet.
  //
  // Arrays with room for far more than a packet are taken for those of a recording, which is collected now and read
  // later. From 16 MiB in all on, what is copied goes past the caches, where it would only drive out other data: on
  // processors that can, and if the arrays begin on bounds of 16 bytes together, as those of one length do.
  template <auto... Fields>
  requires(sizeof...(Fields) > 0) void copy(std::span<typename detail::Field<Fields>::Type>... to) const {
    if (((to.size() < size_) || ...)) throw std::length_error("an array has less room than the packet has elements");
    const bool collects = (to.size_bytes() + ...) >= kLargerThanCaches;
    detail::copy_columns<Layout::size, detail::Field<Fields>...>(packet_ + Layout::first, size_, collects,
                                                                 to.data()...);
  }

 private:
  static constexpr std::size_t kLargerThanCaches = std::size_t{16} << 20;

  ContinuousView(const std::uint8_t* packet, std::size_t size) : packet_(packet), size_(size) {}

  const std::uint8_t* packet_;
  std::size_t size_;
};

}  // namespace kestrine
