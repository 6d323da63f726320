// Packets to read values out of, and the call that reads them one element at a time.
#pragma once

#include <benchmark/benchmark.h>

#include <cstring>
#include <tuple>
#include <vector>

#include "kestrine/continuous.h"
#include "kestrine/kestrine.h"

namespace kestrine::bench {

template <class Packet>
std::vector<std::uint8_t> block_of(std::size_t elements) {
  using Layout = ContinuousLayout<Packet>;
  std::vector<std::uint8_t> bytes(Layout::first + elements * Layout::size);
  wire::store_i32(bytes.data(), static_cast<std::int32_t>(bytes.size()));
  wire::store_i32(&bytes[4], Layout::type);
  wire::store_i32(&bytes[Layout::count], static_cast<std::int32_t>(elements));
  return bytes;
}

// Bytes as the argument of a call.
struct ByteVariant : VARIANT {
  explicit ByteVariant(const std::vector<std::uint8_t>& bytes) : VARIANT{} {
    vt = VT_ARRAY | VT_UI1;
    parray = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
    std::memcpy(parray->pvData, bytes.data(), bytes.size());
  }
  ~ByteVariant() { VariantClear(this); }
  ByteVariant(const ByteVariant&) = delete;
  ByteVariant& operator=(const ByteVariant&) = delete;
};

// One call an element.
template <class Packet, class Interface, class... Outputs>
void read_by_calls(benchmark::State& state, Interface& connection, std::size_t elements,
                   HRESULT (Interface::*reader)(VARIANT*, std::int32_t, Outputs*...)) {
  ByteVariant data(block_of<Packet>(elements));
  std::tuple<Outputs...> outputs;
  const auto read = [&](Outputs&... output) {
    for (std::size_t i = 0; i < elements; ++i) {
      check((connection.*reader)(&data, static_cast<std::int32_t>(i), &output...));
      benchmark::DoNotOptimize(outputs);
    }
  };
  for (auto _ : state) std::apply(read, outputs);
}

}  // namespace kestrine::bench
