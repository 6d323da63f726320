// From the type of an operation's member function to a call of it.
#pragma once

#include <cstring>
#include <tuple>
#include <type_traits>

#include "kestrine/enums.h"
#include "kestrine/records.h"
#include "operation_rows.h"
#include "random_packet.h"

namespace kestrine::test {

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
  void tell_output(TypedCall&) {}

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

  void tell_output(TypedCall& call) {
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
    LONG last = -1;
    void* bytes = nullptr;
    if (FAILED(SafeArrayGetUBound(image.parray, 1, &last)) || FAILED(SafeArrayAccessData(image.parray, &bytes))) {
      return "no bytes";
    }
    std::string told = tell_bytes({static_cast<const std::uint8_t*>(bytes), static_cast<std::size_t>(last + 1)});
    SafeArrayUnaccessData(image.parray);
    return told;
  }
};

template <class... Parameters>
TypedCall call_member(ILTCommandSync& commands, HRESULT (ILTCommandSync::*member)(Parameters...), std::mt19937& random,
                      const std::set<std::size_t>& flags) {
  TypedCall call;
  std::tuple<Slot<Parameters>...> slots;
  std::apply(
      [&](auto&... slot) {
        (slot.fill({random, flags, call}), ...);
        call.result = (commands.*member)(slot.pass()...);
        (slot.tell_output(call), ...);
      },
      slots);
  return call;
}

template <auto Member>
TypedCall typed(ILTCommandSync& commands, std::mt19937& random, const std::set<std::size_t>& flags) {
  return call_member(commands, Member, random, flags);
}

}  // namespace kestrine::test
