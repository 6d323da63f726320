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

// A million points as they arrive, block behind block; and where they go.
const std::vector<std::uint8_t>& recording() {
  static const auto bytes = [] {
    const std::vector<std::uint8_t> block = block_of<MultiMeasResultT>();
    std::vector<std::uint8_t> all;
    for (std::size_t i = 0; i < kBlocks; ++i) all.insert(all.end(), block.begin(), block.end());
    return all;
  }();
  return bytes;
}

struct Columns {
  void take(const std::uint8_t* block, std::size_t at) {
    const auto points = ContinuousView<MultiMeasResultT>::of({block, kBlock});
    const auto behind = [at](auto& column) { return std::span(column).subspan(at, kElements); };
    using V = MeasValueT;
    points->copy<&V::status, &V::lTime1, &V::lTime2, &V::dVal1, &V::dVal2, &V::dVal3>(
        behind(status), behind(time1), behind(time2), behind(val1), behind(val2), behind(val3));
  }

  std::vector<VL_MeasurementStatus> status = std::vector<VL_MeasurementStatus>(kPoints);
  std::vector<std::int32_t> time1 = std::vector<std::int32_t>(kPoints);
  std::vector<std::int32_t> time2 = std::vector<std::int32_t>(kPoints);
  std::vector<double> val1 = std::vector<double>(kPoints);
  std::vector<double> val2 = std::vector<double>(kPoints);
  std::vector<double> val3 = std::vector<double>(kPoints);
};

struct Copy {
  void take(const std::uint8_t* block, std::size_t at) {
    std::memcpy(&bytes[at * Points::size], block + Points::first, kElements * Points::size);
  }

  std::vector<std::uint8_t> bytes = std::vector<std::uint8_t>(kPoints * Points::size);
};

// What takes the blocks, how many there are of them, how far apart in memory, and whether each goes behind the last.
template <class Taker>
void take_blocks(benchmark::State& state, std::size_t blocks, std::size_t apart, bool collects) {
  static Taker taker;
  const std::uint8_t* const first = recording().data();
  for (auto _ : state) {
    for (std::size_t i = 0; i < blocks; ++i) taker.take(first + i * apart, collects ? i * kElements : 0);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(blocks * kElements * Points::size));
}

void BM_ColumnsOfOneBlock(benchmark::State& state) {
  take_blocks<Columns>(state, 1, 0, false);
}
void BM_CopyOfOneBlock(benchmark::State& state) {
  take_blocks<Copy>(state, 1, 0, false);
}
void BM_ColumnsOfRecording(benchmark::State& state) {
  take_blocks<Columns>(state, kBlocks, kBlock, false);
}
void BM_CopyOfRecording(benchmark::State& state) {
  take_blocks<Copy>(state, kBlocks, kBlock, false);
}
void BM_ColumnsCollected(benchmark::State& state) {
  take_blocks<Columns>(state, kBlocks, 0, true);
}
void BM_CopyCollected(benchmark::State& state) {
  take_blocks<Copy>(state, kBlocks, 0, true);
}

BENCHMARK(BM_PointLoads);
BENCHMARK(BM_PointCalls);
BENCHMARK(BM_Point2Loads);
BENCHMARK(BM_Point2Calls);
BENCHMARK(BM_ProbeLoads);
BENCHMARK(BM_ProbeCalls);
BENCHMARK(BM_CopyOfOneBlock);
BENCHMARK(BM_ColumnsOfOneBlock);
BENCHMARK(BM_CopyOfRecording);
BENCHMARK(BM_ColumnsOfRecording);
BENCHMARK(BM_CopyCollected);
BENCHMARK(BM_ColumnsCollected);

}  // namespace
}  // namespace kestrine::bench
