// Calls by name beside the typed calls of the same members, with names looked up every time as a script does.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "bench/packets.h"

namespace kestrine::bench {
namespace {

Pointer<ILTConnect2> second_generation() {
  host::set_message_box_hook([](const auto&, const auto&, auto) {});  // it warns: the other benches use the first one
  return create<ILTConnect2>(CLSID_LTConnect2);
}

// Outputs are variants, as a script's are.
class CallByName {
 public:
  CallByName(IDispatch& object, std::u16string name, std::vector<VARIANT> inputs, std::size_t outputs)
      : object_(object), name_(std::move(name)), outputs_(outputs) {
    for (VARIANT& output : outputs_) {
      VARIANT reference{};
      reference.vt = VT_BYREF | VT_VARIANT;
      reference.pvarVal = &output;
      inputs.push_back(reference);
    }
    arguments_.assign(inputs.rbegin(), inputs.rend());
  }

  void run() {
    LPOLESTR name = name_.data();
    DISPID id = 0;
    check(object_.GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id));
    DISPPARAMS given{arguments_.data(), nullptr, static_cast<UINT>(arguments_.size()), 0};
    EXCEPINFO exception{};
    UINT bad = 0;
    check(object_.Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &given, nullptr, &exception, &bad));
    benchmark::DoNotOptimize(outputs_.data());
  }

 private:
  IDispatch& object_;
  std::u16string name_;
  std::vector<VARIANT> outputs_;
  std::vector<VARIANT> arguments_;
};

VARIANT number(std::int32_t value) {
  VARIANT variant{};
  variant.vt = VT_I4;
  variant.lVal = value;
  return variant;
}

void BM_ConstantTyped(benchmark::State& state) {
  const auto connection = second_generation();
  double value = 0;
  for (auto _ : state) {
    check(connection->GetConstant(KR_C_LengthFactorInch, &value));
    benchmark::DoNotOptimize(value);
  }
}

void BM_ConstantByName(benchmark::State& state) {
  const auto connection = second_generation();
  CallByName call(*connection, u"GetConstant", {number(KR_C_LengthFactorInch)}, 1);
  for (auto _ : state) call.run();
}

// The member with the most outputs of those that wait for nobody.
void BM_ProbeTyped(benchmark::State& state) {
  const auto connection = second_generation();
  read_by_calls<ProbeContinuousResultT>(state, *connection, 1, &ILTConnect2::ContinuousProbeDataGetAt);
}

void BM_ProbeByName(benchmark::State& state) {
  const auto connection = second_generation();
  ByteVariant block(block_of<ProbeContinuousResultT>(1));
  VARIANT data{};
  data.vt = VT_BYREF | VT_VARIANT;
  data.pvarVal = &block;
  CallByName call(*connection, u"ContinuousProbeDataGetAt", {data, number(0)}, 29);
  for (auto _ : state) call.run();
}

BENCHMARK(BM_ConstantTyped);
BENCHMARK(BM_ConstantByName);
BENCHMARK(BM_ProbeTyped);
BENCHMARK(BM_ProbeByName);

}  // namespace
}  // namespace kestrine::bench
