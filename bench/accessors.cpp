// Values out of continuous packets: one call an element beside plain loads of the same fields, whole columns beside a
// copy of the same bytes.
#include <benchmark/benchmark.h>

#include <cstring>
#include <tuple>
#include <vector>

#include "kestrine/continuous.h"
#include "kestrine/kestrine.h"

namespace kestrine::bench {
namespace {

constexpr std::size_t kElements = 1000;  // of a block
constexpr std::size_t kBlocks = 1000;    // of a recording
constexpr std::size_t kPoints = kElements * kBlocks;
using Points = ContinuousLayout<MultiMeasResultT>;
constexpr std::size_t kBlock = Points::first + kElements * Points::size;

template <class Packet>
std::vector<std::uint8_t> block_of() {
  using Layout = ContinuousLayout<Packet>;
  std::vector<std::uint8_t> bytes(Layout::first + kElements * Layout::size);
  wire::store_i32(bytes.data(), static_cast<std::int32_t>(bytes.size()));
  wire::store_i32(&bytes[4], Layout::type);
  wire::store_i32(&bytes[Layout::count], kElements);
  return bytes;
}

// --- One element a call

// The fields as a program without the library would take them: one load each.
template <class Packet>
void loads(benchmark::State& state) {
  const std::vector<std::uint8_t> bytes = block_of<Packet>();
  for (auto _ : state) {
    for (std::size_t i = 0; i < kElements; ++i) {
      auto element = read_element<Packet>(bytes.data(), i);
      benchmark::DoNotOptimize(element);
    }
  }
}

template <class Packet, class... Outputs>
void calls(benchmark::State& state, HRESULT (ILTConnect::*reader)(VARIANT*, std::int32_t, Outputs*...)) {
  const std::vector<std::uint8_t> bytes = block_of<Packet>();
  const auto connection = create<ILTConnect>(CLSID_LTConnect);
  VARIANT data{};
  data.vt = VT_ARRAY | VT_UI1;
  data.parray = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
  std::memcpy(data.parray->pvData, bytes.data(), bytes.size());
  std::tuple<Outputs...> outputs;
  const auto read = [&](Outputs&... output) {
    for (std::size_t i = 0; i < kElements; ++i) {
      check((connection.get()->*reader)(&data, static_cast<std::int32_t>(i), &output...));
      benchmark::DoNotOptimize(outputs);
    }
  };
  for (auto _ : state) std::apply(read, outputs);
  VariantClear(&data);
}

void BM_PointLoads(benchmark::State& state) {
  loads<MultiMeasResultT>(state);
}
void BM_PointCalls(benchmark::State& state) {
  calls<MultiMeasResultT>(state, &ILTConnect::ContinuousPointGetAt);
}
void BM_Point2Loads(benchmark::State& state) {
  loads<MultiMeasResult2T>(state);
}
void BM_Point2Calls(benchmark::State& state) {
  calls<MultiMeasResult2T>(state, &ILTConnect::ContinuousPoint2GetAt);
}
void BM_ProbeLoads(benchmark::State& state) {
  loads<ProbeContinuousResultT>(state);
}
void BM_ProbeCalls(benchmark::State& state) {
  calls<ProbeContinuousResultT>(state, &ILTConnect::ContinuousProbeDataGetAt);
}

// --- Whole columns

// A million points as they arrive, block behind block.
const std::vector<std::uint8_t>& recording() {
  static const auto bytes = [] {
    const std::vector<std::uint8_t> block = block_of<MultiMeasResultT>();
    std::vector<std::uint8_t> all;
    for (std::size_t i = 0; i < kBlocks; ++i) all.insert(all.end(), block.begin(), block.end());
    return all;
  }();
  return bytes;
}

// Takes blocks into arrays for a number of elements.
class Columns {
 public:
  explicit Columns(std::size_t elements)
      : status_(elements), time1_(elements), time2_(elements), val1_(elements), val2_(elements), val3_(elements) {}

  void take(const std::uint8_t* block, std::size_t at) {
    const auto points = ContinuousView<MultiMeasResultT>::of({block, kBlock});
    const auto room = [at](auto& column) { return std::span(column).subspan(at); };
    using V = MeasValueT;
    points->copy<&V::status, &V::lTime1, &V::lTime2, &V::dVal1, &V::dVal2, &V::dVal3>(
        room(status_), room(time1_), room(time2_), room(val1_), room(val2_), room(val3_));
  }

 private:
  std::vector<VL_MeasurementStatus> status_;
  std::vector<std::int32_t> time1_;
  std::vector<std::int32_t> time2_;
  std::vector<double> val1_;
  std::vector<double> val2_;
  std::vector<double> val3_;
};

class Copy {
 public:
  explicit Copy(std::size_t elements) : bytes_(elements * Points::size) {}

  void take(const std::uint8_t* block, std::size_t at) {
    std::memcpy(&bytes_[at * Points::size], block + Points::first, kElements * Points::size);
  }

 private:
  std::vector<std::uint8_t> bytes_;
};

// The same block over and over, from the cache into the cache.
template <class Taker>
void BM_OneBlock(benchmark::State& state) {
  Taker taker(kElements);
  for (auto _ : state) {
    taker.take(recording().data(), 0);
    benchmark::ClobberMemory();
  }
}

// Block after block from memory, each into the same arrays.
template <class Taker>
void BM_Recording(benchmark::State& state) {
  Taker taker(kElements);
  for (auto _ : state) {
    for (std::size_t i = 0; i < kBlocks; ++i) taker.take(&recording()[i * kBlock], 0);
    benchmark::ClobberMemory();
  }
}

// Blocks that just came, each behind the last in arrays for a million points.
template <class Taker>
void BM_Collected(benchmark::State& state) {
  Taker taker(kPoints);
  for (auto _ : state) {
    for (std::size_t i = 0; i < kBlocks; ++i) taker.take(recording().data(), i * kElements);
    benchmark::ClobberMemory();
  }
}

BENCHMARK(BM_PointLoads);
BENCHMARK(BM_PointCalls);
BENCHMARK(BM_Point2Loads);
BENCHMARK(BM_Point2Calls);
BENCHMARK(BM_ProbeLoads);
BENCHMARK(BM_ProbeCalls);
BENCHMARK(BM_OneBlock<Copy>);
BENCHMARK(BM_OneBlock<Columns>);
BENCHMARK(BM_Recording<Copy>);
BENCHMARK(BM_Recording<Columns>);
BENCHMARK(BM_Collected<Copy>);
BENCHMARK(BM_Collected<Columns>);

}  // namespace
}  // namespace kestrine::bench
