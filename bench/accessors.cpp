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
std::vector<std::uint8_t> block_of(std::size_t elements = kElements) {
  using Layout = ContinuousLayout<Packet>;
  std::vector<std::uint8_t> bytes(Layout::first + elements * Layout::size);
  wire::store_i32(bytes.data(), static_cast<std::int32_t>(bytes.size()));
  wire::store_i32(&bytes[4], Layout::type);
  wire::store_i32(&bytes[Layout::count], static_cast<std::int32_t>(elements));
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

// Takes blocks of a kind of packet into arrays for a number of elements.
template <class Packet, auto... Fields>
class Columns {
 public:
  explicit Columns(std::size_t elements) : columns_(std::vector<typename detail::Field<Fields>::Type>(elements)...) {}

  void take(std::span<const std::uint8_t> block, std::size_t at) {
    const auto view = ContinuousView<Packet>::of(block);
    const auto copy = [&](auto&... column) { view->template copy<Fields...>(std::span(column).subspan(at)...); };
    std::apply(copy, columns_);
  }

 private:
  std::tuple<std::vector<typename detail::Field<Fields>::Type>...> columns_;
};

template <class Packet>
class Copy {
 public:
  explicit Copy(std::size_t elements) : bytes_(elements * Layout::size) {}

  void take(std::span<const std::uint8_t> block, std::size_t at) {
    std::memcpy(&bytes_[at * Layout::size], &block[Layout::first], block.size() - Layout::first);
  }

 private:
  using Layout = ContinuousLayout<Packet>;
  std::vector<std::uint8_t> bytes_;
};

using V = MeasValueT;
using PointCopy = Copy<MultiMeasResultT>;
using PointColumns = Columns<MultiMeasResultT, &V::status, &V::lTime1, &V::lTime2, &V::dVal1, &V::dVal2, &V::dVal3>;
using V2 = MeasValue2T;
using Point2Copy = Copy<MultiMeasResult2T>;
using Point2Columns = Columns<MultiMeasResult2T, &V2::status, &V2::lTime1, &V2::lTime2, &V2::dVal1, &V2::dVal2,
                              &V2::dVal3, &V2::dAprioriStd1, &V2::dAprioriStd2, &V2::dAprioriStd3,
                              &V2::dAprioriStdTotal, &V2::dAprioriCovar12, &V2::dAprioriCovar13, &V2::dAprioriCovar23>;
using P = ProbeMeasValueT;
using ProbeCopy = Copy<ProbeContinuousResultT>;
using ProbeColumns =
    Columns<ProbeContinuousResultT, &P::status, &P::triggerStatus, &P::lRotationStatus, &P::lTime1, &P::lTime2,
            &P::dPosition1, &P::dPosition2, &P::dPosition3, &P::dStdDevPosition1, &P::dStdDevPosition2,
            &P::dStdDevPosition3, &P::dStdDevPositionTotal, &P::dCovarPosition12, &P::dCovarPosition13,
            &P::dCovarPosition23, &P::dQuaternion0, &P::dQuaternion1, &P::dQuaternion2, &P::dQuaternion3,
            &P::dRotationAngleX, &P::dRotationAngleY, &P::dRotationAngleZ, &P::dStdDevRotationAngleX,
            &P::dStdDevRotationAngleY, &P::dStdDevRotationAngleZ, &P::dStdDevRotationAngleTotal,
            &P::dCovarRotationAngleXY, &P::dCovarRotationAngleXZ, &P::dCovarRotationAngleYZ>;

// The same block over and over, from the cache into the cache.
template <class Taker, class Packet, std::size_t Elements>
void one_block(benchmark::State& state) {
  const std::vector<std::uint8_t> block = block_of<Packet>(Elements);
  Taker taker(Elements);
  for (auto _ : state) {
    taker.take(block, 0);
    benchmark::ClobberMemory();
  }
}
template <class Taker>
void BM_PointBlock(benchmark::State& state) {
  one_block<Taker, MultiMeasResultT, kElements>(state);
}
template <class Taker>
void BM_Point2Block(benchmark::State& state) {
  one_block<Taker, MultiMeasResult2T, kElements>(state);
}
template <class Taker>
void BM_ProbeBlock(benchmark::State& state) {
  one_block<Taker, ProbeContinuousResultT, 600>(state);  // for more the buffers of a connection have no room
}

// Block after block from memory, each into the same arrays.
template <class Taker>
void BM_Recording(benchmark::State& state) {
  Taker taker(kElements);
  for (auto _ : state) {
    for (std::size_t i = 0; i < kBlocks; ++i) taker.take({&recording()[i * kBlock], kBlock}, 0);
    benchmark::ClobberMemory();
  }
}

// Blocks that just came, each behind the last in arrays for a million points.
template <class Taker>
void BM_Collected(benchmark::State& state) {
  Taker taker(kPoints);
  for (auto _ : state) {
    for (std::size_t i = 0; i < kBlocks; ++i) taker.take({recording().data(), kBlock}, i * kElements);
    benchmark::ClobberMemory();
  }
}

BENCHMARK(BM_PointLoads);
BENCHMARK(BM_PointCalls);
BENCHMARK(BM_Point2Loads);
BENCHMARK(BM_Point2Calls);
BENCHMARK(BM_ProbeLoads);
BENCHMARK(BM_ProbeCalls);
BENCHMARK(BM_PointBlock<PointCopy>);
BENCHMARK(BM_PointBlock<PointColumns>);
BENCHMARK(BM_Point2Block<Point2Copy>);
BENCHMARK(BM_Point2Block<Point2Columns>);
BENCHMARK(BM_ProbeBlock<ProbeCopy>);
BENCHMARK(BM_ProbeBlock<ProbeColumns>);
BENCHMARK(BM_Recording<PointCopy>);
BENCHMARK(BM_Recording<PointColumns>);
BENCHMARK(BM_Collected<PointCopy>);
BENCHMARK(BM_Collected<PointColumns>);

}  // namespace
}  // namespace kestrine::bench
