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

// Its connection ends with it: a second one on the thread would change how the others wait.
class IdleTracker final : public Tracker {
 public:
  IdleTracker() : Tracker("127.0.0.1", server().port()) {
    static Idle idle;
    commands_ = Pointer<ILTCommandSync>(&idle);
  }

 private:
  static Server& server() {
    static Server instance;
    return instance;
  }
};

void BM_UnitsOfInterface(benchmark::State& state) {
  const IdleTracker tracker;
  ILTCommandSync& commands = tracker.command_sync();
  for (auto _ : state) {
    GetUnitsResult units;
    check(commands.GetUnits(&units.lengthUnit, &units.angleUnit, &units.temperatureUnit, &units.pressureUnit,
                            &units.humidityUnit));
    benchmark::DoNotOptimize(units);
  }
}

void BM_UnitsOfTracker(benchmark::State& state) {
  IdleTracker tracker;
  for (auto _ : state) benchmark::DoNotOptimize(tracker.GetUnits());
}

BENCHMARK(BM_UnitsOfInterface);
BENCHMARK(BM_UnitsOfTracker);

}  // namespace
}  // namespace kestrine::bench
