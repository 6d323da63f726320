// From a whole packet to the handler of one typed sink, without a socket: what the dispatcher and the firing cost.
#include <benchmark/benchmark.h>

#include <vector>

#include "kestrine/kestrine.h"
#include "objects/command_classes.h"
#include "objects/connect_class.h"
#include "objects/module.h"

namespace kestrine::bench {
namespace {

class Taker final : public SyncEvents {
 public:
  void ReflectorPositionData(double x, double y, double z) override { taken += x + y + z; }
  void ReflectorsData(std::int32_t, BSTR name, VL_TargetType, double, std::int32_t) override { taken += *name; }

  double taken = 0;
};

// The parts of the library that a packet goes through, apart from the library that the other benches load.
class Station {
 public:
  Station() {
    check(connection_->get_ILTCommandSync(commands_.put()));
    subscription_ = Subscription(*commands_, DIID__ILTCommandSyncEvents, *taker_);
  }

  // In the buffer of its kind.
  template <class Packet>
  connection::ReceivedPacket packet(std::int32_t type, std::int32_t command) {
    const auto buffer = connection_->buffers().for_type(type);
    constexpr auto kSize = static_cast<std::int32_t>(RecordTraits<Packet>::size);
    wire::store_i32(buffer.bytes, kSize);
    wire::store_i32(buffer.bytes + 4, type);
    wire::store_i32(buffer.bytes + 8, command);
    return {buffer.bytes, buffer.capacity, kSize};
  }
  void deliver(const connection::ReceivedPacket& packet) {
    generation_->connection_events().on_packet(*connection_, packet, 0);
  }
  double taken() const { return taker_->taken; }

 private:
  using Connect = objects::Connect<ILTConnect>;

  dispatch::ProcessState process_{connection::kModernRules};
  objects::GenerationClasses classes_{1, process_};
  const std::shared_ptr<dispatch::Generation> generation_ = classes_.for_connection();
  const Pointer<Connect> connection_ = Pointer<Connect>::adopt(new Connect(generation_));
  const Pointer<Taker> taker_ = Pointer<Taker>::adopt(new Taker);
  Pointer<IUnknown> commands_;
  Subscription subscription_;
};

template <class Packet, std::int32_t Type, std::int32_t Command>
void delivery(benchmark::State& state) {
  Station station;
  const auto packet = station.packet<Packet>(Type, Command);
  for (auto _ : state) station.deliver(packet);
  benchmark::DoNotOptimize(station.taken());
}

// The least that a position can cost: three loads and the virtual call.
void BM_PositionHandedOver(benchmark::State& state) {
  const auto taker = Pointer<Taker>::adopt(new Taker);
  SyncEvents* events = taker.get();
  std::vector<std::uint8_t> packet(RecordTraits<ReflectorPosResultT>::size);
  const std::uint8_t* bytes = packet.data();
  for (auto _ : state) {
    benchmark::DoNotOptimize(events);
    benchmark::DoNotOptimize(bytes);
    events->ReflectorPositionData(wire::load_f64(bytes + 12), wire::load_f64(bytes + 20), wire::load_f64(bytes + 28));
  }
  benchmark::DoNotOptimize(taker->taken);
}

BENCHMARK(BM_PositionHandedOver);
BENCHMARK(delivery<ReflectorPosResultT, VL_DT_ReflectorPosResult, 0>)->Name("BM_PositionDelivery");
BENCHMARK(delivery<GetReflectorsRT, VL_DT_Command, VL_C_GetReflectors>)->Name("BM_ReflectorDelivery");

}  // namespace
}  // namespace kestrine::bench
