// Values out of continuous packets: one call an element beside plain loads of the same fields, whole columns beside a
// copy of the same bytes.
#include <benchmark/benchmark.h>

#include <cstring>
#include <tuple>
#include <vector>

#include "bench/packets.h"

namespace kestrine::bench {
namespace {

constexpr std::size_t kElements = 1000;  // of a block
constexpr std::size_t kBlocks = 1000;    // of a recording
constexpr std::size_t kPoints = kElements * kBlocks;
using Points = ContinuousLayout<MultiMeasResultT>;
constexpr std::size_t kBlock = Points::first + kElements * Points::size;

// --- One element a call

// The fields as a program without the library would take them: one load each.
template <class Packet>
void loads(benchmark::State& state) {
  const std::vector<std::uint8_t> bytes = block_of<Packet>(kElements);
  for (auto _ : state) {
    for (std::size_t i = 0; i < kElements; ++i) {
      auto element = read_element<Packet>(bytes.data(), i);
      benchmark::DoNotOptimize(element);
    }
  }
}

template <class Packet, auto Reader>
void calls(benchmark::State& state) {
  const auto connection = create<ILTConnect>(CLSID_LTConnect);
  read_by_calls<Packet>(state, *connection, kElements, Reader);
}

// --- Whole columns

// A million points as they arrive, block behind block.
const std::vector<std::uint8_t>& recording() {
  static const auto bytes = [] {
    const std::vector<std::uint8_t> block = block_of<MultiMeasResultT>(kElements);
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
template <class Packet, class Taker, std::size_t Elements>
void one_block(benchmark::State& state) {
  const std::vector<std::uint8_t> block = block_of<Packet>(Elements);
  Taker taker(Elements);
  for (auto _ : state) {
    taker.take(block, 0);
    benchmark::ClobberMemory();
  }
}
// Block after block from memory, each into the same arrays.
template <class Taker>
void recording_read(benchmark::State& state) {
  Taker taker(kElements);
  for (auto _ : state) {
    for (std::size_t i = 0; i < kBlocks; ++i) taker.take({&recording()[i * kBlock], kBlock}, 0);
    benchmark::ClobberMemory();
  }
}

// Blocks that just came, each behind the last in arrays for a million points.
template <class Taker>
void recording_collected(benchmark::State& state) {
  Taker taker(kPoints);
  for (auto _ : state) {
    for (std::size_t i = 0; i < kBlocks; ++i) taker.take({recording().data(), kBlock}, i * kElements);
    benchmark::ClobberMemory();
  }
}

constexpr std::size_t kProbeElements = 600;  // for more the buffers of a connection have no room

BENCHMARK(loads<MultiMeasResultT>)->Name("BM_PointLoads");
BENCHMARK(loads<MultiMeasResult2T>)->Name("BM_Point2Loads");
BENCHMARK(loads<ProbeContinuousResultT>)->Name("BM_ProbeLoads");
BENCHMARK(calls<MultiMeasResultT, &ILTConnect::ContinuousPointGetAt>)->Name("BM_PointCalls");
BENCHMARK(calls<MultiMeasResult2T, &ILTConnect::ContinuousPoint2GetAt>)->Name("BM_Point2Calls");
BENCHMARK(calls<ProbeContinuousResultT, &ILTConnect::ContinuousProbeDataGetAt>)->Name("BM_ProbeCalls");
BENCHMARK(one_block<MultiMeasResultT, PointCopy, kElements>)->Name("BM_PointBlockCopy");
BENCHMARK(one_block<MultiMeasResultT, PointColumns, kElements>)->Name("BM_PointBlockColumns");
BENCHMARK(one_block<MultiMeasResult2T, Point2Copy, kElements>)->Name("BM_Point2BlockCopy");
BENCHMARK(one_block<MultiMeasResult2T, Point2Columns, kElements>)->Name("BM_Point2BlockColumns");
BENCHMARK(one_block<ProbeContinuousResultT, ProbeCopy, kProbeElements>)->Name("BM_ProbeBlockCopy");
BENCHMARK(one_block<ProbeContinuousResultT, ProbeColumns, kProbeElements>)->Name("BM_ProbeBlockColumns");
BENCHMARK(recording_read<PointCopy>)->Name("BM_RecordingCopy");
BENCHMARK(recording_read<PointColumns>)->Name("BM_RecordingColumns");
BENCHMARK(recording_collected<PointCopy>)->Name("BM_CollectedCopy");
BENCHMARK(recording_collected<PointColumns>)->Name("BM_CollectedColumns");

}  // namespace
}  // namespace kestrine::bench
