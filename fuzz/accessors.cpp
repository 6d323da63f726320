// Every member that takes a packet, and the views of native code, over arrays of any bytes.
#include <fuzzer/FuzzedDataProvider.h>

#include "kestrine/continuous.h"
#include "tests/connection/byte_variant.h"

namespace kestrine::test {
namespace {

struct Client final : ClientTest {
  Client() { make(); }
  void TestBody() override {}

  void call_members(VARIANT* packet, std::int32_t index) {
    const Text file("/dev/null");
    for (const protocol::MemberRow& member : protocol::find_type("ILTConnect")->members) {
      const auto values = member.values;
      if (values.empty() || values[0].type != protocol::ValueType::kBytes || values[0].out) continue;
      VARIANT outputs[protocol::kMostValues]{};
      commands::Argument arguments[protocol::kMostValues]{{.variant = packet}};
      for (std::size_t i = 1; i < values.size(); ++i) {
        arguments[i].i32 = index;
        if (values[i].type == protocol::ValueType::kText) arguments[i].text = file;
        if (values[i].out) arguments[i].out = &outputs[i];
      }
      commands::call_connect_member(*connection, member.dispid, arguments);
      // The one output that owns something is the file in a packet.
      if (values.back().type == protocol::ValueType::kBytes) VariantClear(&outputs[values.size() - 1]);
    }
    heard();
  }
};

template <class Packet, auto Field>
void read_column(std::span<const std::uint8_t> bytes) {
  const auto view = ContinuousView<Packet>::of(bytes);
  std::vector<double> values(view ? view->size() : 0);
  if (view) view->template copy<Field>(values);
}

}  // namespace
}  // namespace kestrine::test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kestrine;
  static test::Client client;
  FuzzedDataProvider input(data, size);
  const auto form = input.ConsumeIntegral<std::uint8_t>();
  const auto index = static_cast<std::int16_t>(input.ConsumeIntegral<std::uint16_t>());
  test::ByteVariant square(input.ConsumeIntegral<std::uint16_t>(), 2);
  test::ByteVariant flat(input.ConsumeRemainingBytes<std::uint8_t>(), (form & 1) != 0 ? VT_I4 : VT_UI1);
  VARIANT* array = (form & 2) != 0 ? square : flat;
  VARIANT reference{.vt = VT_BYREF | VT_VARIANT, .pvarVal = array};
  if ((form & 4) != 0) reference = {.vt = static_cast<VARTYPE>(VT_BYREF | array->vt), .pparray = &array->parray};
  client.call_members((form & 8) != 0 ? &reference : array, index);
  const auto bytes = connection::bytes_of(array).value_or(std::span<const std::uint8_t>());
  test::read_column<MultiMeasResultT, &MeasValueT::dVal1>(bytes);
  test::read_column<MultiMeasResult2T, &MeasValue2T::dVal1>(bytes);
  test::read_column<ProbeContinuousResultT, &ProbeMeasValueT::dPosition1>(bytes);
  return 0;
}
