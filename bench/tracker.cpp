// What a member of kestrine::Tracker costs beyond the operation of the interface that it calls, which does nothing
// here.
#include "kestrine/tracker.h"

#include <benchmark/benchmark.h>

#include "bench/server.h"
#include "commands/typed_methods.h"

namespace kestrine::bench {
namespace {

// Lives for ever.
class Idle final : public commands::TypedSyncMethods<ILTCommandSync> {
 public:
  HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG AddRef() override { return 1; }
  ULONG Release() override { return 1; }

 private:
  HRESULT call(int, commands::Argument* arguments) override {
    benchmark::DoNotOptimize(arguments);
    return S_OK;
  }
};

class IdleTracker final : public Tracker {
 public:
  using Tracker::Tracker;
  void rest() {
    static Idle idle;
    commands_ = Pointer<ILTCommandSync>(&idle);
  }
};

IdleTracker& tracker() {
  static Server server;
  static IdleTracker instance("127.0.0.1", server.port());
  instance.rest();
  return instance;
}

void BM_UnitsOfInterface(benchmark::State& state) {
  ILTCommandSync& commands = tracker().command_sync();
  for (auto _ : state) {
    GetUnitsResult units;
    check(commands.GetUnits(&units.lengthUnit, &units.angleUnit, &units.temperatureUnit, &units.pressureUnit,
                            &units.humidityUnit));
    benchmark::DoNotOptimize(units);
  }
}

void BM_UnitsOfTracker(benchmark::State& state) {
  IdleTracker& idle = tracker();
  for (auto _ : state) benchmark::DoNotOptimize(idle.GetUnits());
}

BENCHMARK(BM_UnitsOfInterface);
BENCHMARK(BM_UnitsOfTracker);

}  // namespace
}  // namespace kestrine::bench
