// Calls by name of every member of the second generation, with variants of all kinds, and a server that has sent what
// it answers before it is asked. Zeros make the arguments that the member wants, and an answer that is good.
#include <fuzzer/FuzzedDataProvider.h>

#include <deque>

#include "kestrine/host.h"
#include "platform/test_clock.h"
#include "scripting/record_info.h"
#include "tests/scripting/late_client.h"

namespace kestrine::test {
namespace {

using protocol::Value, protocol::MemberRow;

class Caller final : LateClient {
 public:
  explicit Caller(const connection::Rules& rules) : LateClient(rules) { connection = {}; }

  // On a connection of its own.
  void make_calls(FuzzedDataProvider& input) {
    input_ = &input;
    host::set_give_up_hook([this] { return ++asked_ > 50; });
    connection = Pointer<IDispatch>::adopt(create(CLSID_LTConnect2));
    test::Value async;
    call(*connection, 1, DISPATCH_PROPERTYGET, {}, {}, &*async);
    const Pointer<IDispatch> sync = commands(u"ILTCommandSync", {});
    while (input.remaining_bytes() > 0) {
      const int object = byte() % 3;
      if (object == 0) make_call(*connection, protocol::find_type("ILTConnect2")->members);
      if (object == 1) make_call(*sync, protocol::sync_methods());
      if (object == 2) make_call(*async->pdispVal, protocol::async_methods());
    }
    peer.reset();
    for (VARIANT& each : owned_) VariantClear(&each);
    owned_.clear();
    platform::advance_clock(std::chrono::seconds(1));  // command objects that go younger are suspicious
    SetErrorInfo(0, nullptr);
    connection = {};
  }

 private:
  void TestBody() override {}

  int byte() { return input_->ConsumeIntegral<std::uint8_t>(); }
  int type() { return input_->ConsumeIntegral<std::uint16_t>() & (VT_ARRAY | VT_BYREF | 63); }

  VARIANT& make(int type, const Value& value) {
    VARIANT& made = owned_.emplace_back(VARIANT{.vt = static_cast<VARTYPE>(type)});
    if ((type & VT_BYREF) != 0) {
      const bool to_variant = type == (VT_BYREF | VT_VARIANT);
      VARIANT& target = make(to_variant ? this->type() & ~VT_BYREF : type & ~VT_BYREF, value);
      made.record = target.record;
      if (type != (VT_BYREF | VT_RECORD)) made.byref = to_variant ? static_cast<void*>(&target) : &target.llVal;
    } else if ((type & VT_ARRAY) != 0) {
      made.parray = SafeArrayCreateVector(static_cast<VARTYPE>(type & ~VT_ARRAY), 0, static_cast<ULONG>(byte()));
    } else if (type == VT_BSTR) {
      made.bstrVal = SysAllocString(to_utf16(input_->ConsumeBytesAsString(static_cast<std::size_t>(byte()))).c_str());
    } else if (type == VT_UNKNOWN || type == VT_DISPATCH) {
      connection->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&made.pdispVal));
    } else if (type == VT_RECORD) {
      const bool wanted = value.type == protocol::ValueType::kRecord;
      scripting::make_record_info(wanted ? *value.named : *protocol::packets()[0].record, &made.record.pRecInfo);
      made.record.pvRecord = made.record.pRecInfo->RecordCreate();
      if (wanted) input_->ConsumeData(made.record.pvRecord, value.named->size);
    } else {
      made.ullVal = input_->ConsumeIntegral<std::uint64_t>();
    }
    return made;
  }

  void send(std::int32_t size, std::int32_t type, std::int32_t third, std::int32_t fourth) {
    Bytes bytes = packet(std::max(size, 16), type);
    input_->ConsumeData(bytes.data() + 8, bytes.size() - 8);
    put_i32(bytes, 8, third);
    put_i32(bytes, 12, fourth);
    peer.send(bytes);
  }

  void make_call(IDispatch& object, std::span<const MemberRow> members) {
    constexpr VARTYPE kWanted[] = {VT_I4, VT_BOOL, VT_R8, VT_BSTR, VT_ARRAY | VT_UI1, VT_RECORD, VT_UNKNOWN};
    const MemberRow& member = members[static_cast<std::size_t>(byte()) % members.size()];
    const std::string_view name = member.name;
    // These write files, look up names and leave.
    if (name == "WriteDiskFile" || name.ends_with("EmbeddedSystem")) return;
    const int form = byte(), status = byte(), result = byte();
    const auto* const row = protocol::find_packet(result);
    const bool is_command = member.command != nullptr && member.command->answer != nullptr;
    if (is_command && (form & 1) == 0) send(member.command->answer->size, VL_DT_Command, member.command->code, status);
    if (result != 0 && row != nullptr) send(row->record->size, row->type, status, 0);
    std::vector<VARIANT> arguments;
    for (const Value& each :
         member.values.first(member.kind == protocol::MemberKind::kGet ? 0 : member.values.size())) {
      const int wanted = each.out ? VT_BYREF | VT_VARIANT : kWanted[static_cast<std::size_t>(each.type)];
      const int chosen = type();
      arguments.push_back(make(chosen == 0 ? wanted : chosen, each));
    }
    std::vector<DISPID> names((form & 2) != 0 ? static_cast<std::size_t>(byte()) : 0);
    for (DISPID& each : names) each = byte() - 4;
    if ((form & 4) != 0) arguments.resize(static_cast<std::size_t>(byte()));
    asked_ = 0;
    test::Value value;
    call(object, member.dispid, static_cast<WORD>((1 << static_cast<int>(member.kind)) ^ form >> 5), arguments, names,
         &*value);
    host::dispatch();
    while (!peer.nothing_to_receive()) peer.receive_request();
  }

  FuzzedDataProvider* input_ = nullptr;
  std::deque<VARIANT> owned_;
  int asked_ = 0;  // by a wait, whether it is to be given up
};

}  // namespace
}  // namespace kestrine::test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const kestrine::platform::ShortWaits at_once(std::chrono::nanoseconds(0));
  static kestrine::test::Caller classic(kestrine::connection::kClassicRules);
  static kestrine::test::Caller modern(kestrine::connection::kModernRules);
  FuzzedDataProvider input(data, size);
  (input.ConsumeBool() ? modern : classic).make_calls(input);
  return 0;
}
