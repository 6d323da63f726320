// What the typed event sinks share: names, queries, and the unpacking of an event's arguments.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>

#include "kestrine/component.h"
#include "kestrine/object.h"
#include "kestrine/text.h"

namespace kestrine {

// Marks a sink that leaves the arguments of Invoke() as they are: texts are lent to it instead of copied. Its address
// is that of the sink's IDispatch.
inline constexpr IID IID_ArgumentBorrower{0x8d1f5c02, 0x64ab, 0x4e37, {0xb3, 0x1c, 0x92, 0x0a, 0xe8, 0x57, 0x4f, 0x6d}};

// A sink is counted; make it with `new` and let Release() delete it. Handlers run on the thread of the objects,
// inside the call or the message that brought the packet, and may call back into the library. What they throw goes
// through to the library, which takes it as a failure of this sink alone.
class Sink : public Object<IDispatch> {
 public:
  HRESULT GetTypeInfoCount(UINT* count) override {
    if (count == nullptr) return E_POINTER;
    *count = 0;
    return S_OK;
  }

  HRESULT GetTypeInfo(UINT, LCID, ITypeInfo** info) override {
    if (info != nullptr) *info = nullptr;
    return DISP_E_BADINDEX;
  }

  // Knows the events by their names, upper or lower case; parameters have none.
  HRESULT GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
    if (reserved != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    if (names == nullptr || ids == nullptr) return E_POINTER;
    for (UINT i = 0; i < count; ++i) ids[i] = i == 0 ? find_name(names[0]) : DISPID_UNKNOWN;
    return count == 1 && ids[0] != DISPID_UNKNOWN ? S_OK : DISP_E_UNKNOWNNAME;
  }

 protected:
  // `names` are the events in the order of their identifiers, which begin with 1.
  Sink(const IID& first, const IID& second, std::span<const char* const> names)
      : first_(first), second_(second), names_(names) {}

  void* find_interface(const IID& iid) override {
    const bool known = iid == first_ || iid == second_ || iid == IID_ArgumentBorrower;
    return known ? static_cast<IDispatch*>(this) : Object::find_interface(iid);
  }

  template <class Events, class... Parameters>
  static HRESULT deliver(Events& events, void (Events::*handler)(Parameters...), const DISPPARAMS* arguments,
                         UINT* bad_argument) {
    constexpr UINT kCount = sizeof...(Parameters);
    if (arguments == nullptr || arguments->cArgs != kCount) return DISP_E_BADPARAMCOUNT;
    if (arguments->cNamedArgs != 0) return DISP_E_NONAMEDARGS;
    return deliver_each(events, handler, arguments->rgvarg, bad_argument, std::index_sequence_for<Parameters...>());
  }

 private:
  // The last argument comes first.
  template <class Events, class... Parameters, std::size_t... Index>
  static HRESULT deliver_each(Events& events, void (Events::*handler)(Parameters...), const VARIANTARG* arguments,
                              UINT* bad_argument, std::index_sequence<Index...>) {
    constexpr std::size_t kLast = sizeof...(Parameters) - 1;
    constexpr VARTYPE kTypes[] = {type_of<Parameters>()...};
    for (std::size_t i = 0; i <= kLast; ++i) {
      if (arguments[kLast - i].vt == kTypes[i]) continue;
      if (bad_argument != nullptr) *bad_argument = static_cast<UINT>(kLast - i);
      return DISP_E_TYPEMISMATCH;
    }
    (events.*handler)(value_of<Parameters>(arguments[kLast - Index])...);
    return S_OK;
  }

  template <class Parameter>
  static constexpr VARTYPE type_of() {
    if (std::is_same_v<Parameter, double>) return VT_R8;
    if (std::is_same_v<Parameter, BSTR>) return VT_BSTR;
    if (std::is_same_v<Parameter, VARIANT_BOOL>) return VT_BOOL;
    return VT_I4;
  }

  template <class Parameter>
  static Parameter value_of(const VARIANTARG& argument) {
    if constexpr (std::is_same_v<Parameter, double>) {
      return argument.dblVal;
    } else if constexpr (std::is_same_v<Parameter, BSTR>) {
      return argument.bstrVal;
    } else if constexpr (std::is_same_v<Parameter, VARIANT_BOOL>) {
      return argument.boolVal;
    } else {
      return static_cast<Parameter>(argument.lVal);
    }
  }

  DISPID find_name(const OLECHAR* name) const {
    for (std::size_t i = 0; name != nullptr && i < names_.size(); ++i) {
      if (detail::same_name(name, names_[i])) return static_cast<DISPID>(i + 1);
    }
    return DISPID_UNKNOWN;
  }

  const IID& first_;
  const IID& second_;
  std::span<const char* const> names_;
};

}  // namespace kestrine
