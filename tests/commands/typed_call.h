// Every typed operation of both command sets with its row of the catalogue, to be called with random arguments.
#pragma once

#include <cstring>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "commands/members.h"
#include "kestrine/enums.h"
#include "kestrine/records.h"
#include "kestrine/text.h"
#include "protocol/catalogue.h"
#include "random_packet.h"

namespace kestrine::test {

// One call with random arguments.
struct TypedCall {
  HRESULT result = E_UNEXPECTED;
  Bytes parameters;                  // as the request has to carry them
  std::vector<std::int32_t> longs;   // the inputs that are whole numbers
  std::vector<std::string> outputs;  // in order; a record as its bytes
};

struct Inputs {
  std::mt19937& random;
  const std::set<std::size_t>& flags;  // where in the request a record's flags lie
  TypedCall& call;

  void put(const void* bytes, std::size_t count) {
    const auto* from = static_cast<const std::uint8_t*>(bytes);
    call.parameters.insert(call.parameters.end(), from, from + count);
  }
  void put_flag(std::int32_t value) {
    const std::int32_t sent = value != 0 ? 1 : 0;
    put(&sent, sizeof sent);
  }
};

template <class Parameter>
struct Slot {  // an input
  Parameter value{};

  Parameter pass() { return value; }
  void take_output(TypedCall&) {}

  void fill(Inputs inputs) {
    if constexpr (std::is_same_v<Parameter, double>) {
      value = random_double(inputs.random);
      inputs.put(&value, sizeof value);
    } else if constexpr (std::is_same_v<Parameter, VARIANT_BOOL>) {
      value = static_cast<VARIANT_BOOL>(random_flag(inputs.random));
      inputs.put_flag(value);
    } else if constexpr (std::is_class_v<Parameter>) {
      fill_record(inputs);
    } else {
      value = static_cast<Parameter>(random_long(inputs.random));
      inputs.put(&value, sizeof value);
      inputs.call.longs.push_back(static_cast<std::int32_t>(value));
    }
  }

 private:
  // Any bytes will do: a record is sent as it lies in memory but for its flags.
  void fill_record(Inputs inputs) {
    for (std::size_t at = 0; at < sizeof value; at += 4) {
      const bool is_flag = inputs.flags.contains(12 + at);
      const std::int32_t word = is_flag ? random_flag(inputs.random) : random_long(inputs.random);
      std::memcpy(reinterpret_cast<std::uint8_t*>(&value) + at, &word, 4);
      if (is_flag) {
        inputs.put_flag(word);
      } else {
        inputs.put(&word, 4);
      }
      if (at == 0) inputs.call.longs.push_back(word);
    }
  }
};

template <class Value>
struct Slot<Value*> {  // an output
  Value value{};

  Value* pass() { return &value; }
  void fill(Inputs) {}

  void take_output(TypedCall& call) {
    if constexpr (std::is_same_v<Value, BSTR>) {
      call.outputs.push_back(tell_text({value, SysStringLen(value)}));
      SysFreeString(value);
    } else if constexpr (std::is_same_v<Value, VARIANT>) {
      call.outputs.push_back(tell_image(value));
      VariantClear(&value);
    } else if constexpr (std::is_same_v<Value, VARIANT_BOOL>) {
      call.outputs.push_back(tell_flag(value));
    } else if constexpr (std::is_class_v<Value>) {
      call.outputs.push_back(tell_bytes({reinterpret_cast<const std::uint8_t*>(&value), sizeof value}));
    } else if constexpr (std::is_same_v<Value, double>) {
      call.outputs.push_back(tell(value));
    } else {
      call.outputs.push_back(tell(static_cast<std::int32_t>(value)));
    }
  }

 private:
  static std::string tell_image(const VARIANT& image) {
    if (image.vt != (VT_ARRAY | VT_UI1)) return "no bytes";
    return tell_bytes({static_cast<const std::uint8_t*>(image.parray->pvData), image.parray->rgsabound[0].cElements});
  }
};

template <class Interface, class... Parameters>
TypedCall call_member(Interface& commands, HRESULT (Interface::*member)(Parameters...), std::mt19937& random,
                      const std::set<std::size_t>& flags) {
  TypedCall call;
  std::tuple<Slot<Parameters>...> slots;
  std::apply(
      [&](auto&... slot) {
        (slot.fill({random, flags, call}), ...);
        call.result = (commands.*member)(slot.pass()...);
        (slot.take_output(call), ...);
      },
      slots);
  return call;
}

template <class Interface>
struct Operation : protocol::MemberRow {
  TypedCall (*member)(Interface&, std::mt19937&, const std::set<std::size_t>& flags);
  std::size_t slot;  // in the table of the interface's virtual functions

  TypedCall call(Interface& commands, std::mt19937& random) const {
    std::set<std::size_t> flags;
    if (command == nullptr) return member(commands, random, flags);
    for (const protocol::Value& field : command->parameters) {
      if (field.type == protocol::ValueType::kFlag) flags.insert(field.offset);
    }
    return member(commands, random, flags);
  }
  std::int32_t code() const { return command->code; }
  std::string text() const { return to_utf8(command->text); }
  // The type of the packet that brings the outputs, and its record.
  std::int32_t packet_type() const {
    if (source == protocol::Source::kAnswer) return VL_DT_Command;
    if (source == protocol::Source::kTiltra) return VL_DT_TiltraResult;
    return result_type == -1 ? VL_DT_StationaryProbeMeasResult + 0 : result_type;
  }
  const protocol::TypeRow& record() const {
    return packet_type() == VL_DT_Command ? *command->answer : *protocol::find_packet(packet_type())->record;
  }
};

// A pointer to a virtual member begins with the offset of its entry in the table; some machines mark that with the
// lowest bit.
template <class Interface, class... Parameters>
Operation<Interface> operation_of(HRESULT (Interface::*member)(Parameters...), const protocol::MemberRow& row) {
  std::uintptr_t offset = 0;
  std::memcpy(&offset, &member, sizeof offset);
  return {row, nullptr, (offset & ~std::uintptr_t{1}) / sizeof(void*)};
}

template <class Interface, auto... Members>
std::vector<Operation<Interface>> operations_of(MemberList<Members...>, std::span<const protocol::MemberRow> rows) {
  auto row = rows.begin();
  std::vector<Operation<Interface>> all = {operation_of(Members, *row++)...};
  auto operation = all.begin();
  ((operation++->member =
        [](Interface& commands, std::mt19937& random, const std::set<std::size_t>& flags) {
          return call_member(commands, Members, random, flags);
        }),
   ...);
  return all;
}

using SyncOperation = Operation<ILTCommandSync>;
using AsyncOperation = Operation<ILTCommandAsync>;

// In the order of their identifiers.
inline const std::vector<SyncOperation>& sync_operations() {
  static const auto all = operations_of<ILTCommandSync>(SyncMembers(), protocol::sync_methods());
  return all;
}
inline const std::vector<AsyncOperation>& async_operations() {
  static const auto all = operations_of<ILTCommandAsync>(AsyncMembers(), protocol::async_methods());
  return all;
}

}  // namespace kestrine::test
