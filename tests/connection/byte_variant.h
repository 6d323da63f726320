// Arrays of callers, and continuous packets in which every field tells its place.
#pragma once

#include <algorithm>
#include <cstring>

#include "client_test.h"

namespace kestrine::test {

// An array that ends with the last byte given, so that a read behind it does not go unseen.
struct ByteVariant {
  explicit ByteVariant(const Bytes& bytes, VARTYPE type = VT_UI1) {
    variant.vt = VT_ARRAY | type;
    variant.parray = SafeArrayCreateVector(type, 0, static_cast<ULONG>(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), static_cast<std::uint8_t*>(variant.parray->pvData));
  }
  // Of two dimensions, all zero.
  ByteVariant(ULONG rows, ULONG columns) {
    SAFEARRAYBOUND bounds[] = {{rows, 0}, {columns, 0}};
    variant.vt = VT_ARRAY | VT_UI1;
    variant.parray = SafeArrayCreate(VT_UI1, 2, bounds);
  }
  ~ByteVariant() { VariantClear(&variant); }
  ByteVariant(const ByteVariant&) = delete;
  ByteVariant& operator=(const ByteVariant&) = delete;
  operator VARIANT*() { return &variant; }

  VARIANT variant{};
};

// Words, then doubles: each holds `base` and its distance from the first, a double one half more.
inline void put_fields(Bytes& bytes, std::size_t at, int words, int doubles, int base) {
  for (int i = 0; i < words; ++i, at += 4) put_i32(bytes, at, base + 4 * i);
  for (int i = 0; i < doubles; ++i, at += 8) put_f64(bytes, at, base + 4 * words + 8 * i + 0.5);
}

struct PacketKind {
  std::int32_t type;
  int header_words;  // behind the first 12 bytes
  int element_words;
  int element_doubles;

  std::size_t first() const { return static_cast<std::size_t>(12 + 4 * header_words + 3 * 8); }
  std::size_t element() const { return static_cast<std::size_t>(4 * element_words + 8 * element_doubles); }
};
inline constexpr PacketKind kPoints{VL_DT_MultiMeasResult, 3, 3, 3};
inline constexpr PacketKind kPoints2{VL_DT_MultiMeasResult2, 3, 3, 10};
inline constexpr PacketKind kProbes{VL_DT_ContinuousProbeMeasResult, 8, 5, 24};

inline constexpr std::int32_t kTryMode = 0x1234'8300;  // a flag, of which the low half counts

// Element k begins at 1000 (k + 1).
inline Bytes continuous(const PacketKind& kind, int elements) {
  const std::size_t size = kind.first() + kind.element() * static_cast<std::size_t>(elements);
  Bytes bytes = packet(static_cast<std::int32_t>(size), kind.type);
  put_fields(bytes, 12, kind.header_words, 3, 12);
  put_i32(bytes, 12, elements);
  put_i32(bytes, 20, kTryMode);
  for (int k = 0; k < elements; ++k) {
    put_fields(bytes, kind.first() + kind.element() * static_cast<std::size_t>(k), kind.element_words,
               kind.element_doubles, 1000 * (k + 1));
  }
  return bytes;
}

}  // namespace kestrine::test
