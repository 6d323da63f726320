// What makes a dual interface of typed operations: IDispatch over its rows.
#pragma once

#include <type_traits>

#include "commands/arguments.h"
#include "component_types/error_info.h"
#include "kestrine/interface_id.h"
#include "platform/home.h"
#include "scripting/call_by_name.h"
#include "scripting/type_info.h"

namespace kestrine::scripting {

// `Methods` implements an interface derived from IDispatch, and has a protected call(dispid, arguments).
template <class Methods>
class LateBound : public Methods {
 public:
  HRESULT GetTypeInfoCount(UINT* count) override {
    if (!home_.is_here()) return RPC_E_WRONG_THREAD;
    if (count == nullptr) return E_POINTER;
    *count = 1;
    return S_OK;
  }
  HRESULT GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
    if (!home_.is_here()) return RPC_E_WRONG_THREAD;
    if (info == nullptr) return E_POINTER;
    *info = nullptr;
    return index == 0 ? get_type_info(type(), info) : DISP_E_BADINDEX;
  }
  HRESULT GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
    if (!home_.is_here()) return RPC_E_WRONG_THREAD;
    return find_names(type(), reserved, names, count, ids);
  }
  HRESULT Invoke(DISPID member, REFIID reserved, LCID, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                 EXCEPINFO* exception, UINT* bad_argument) override {
    if (!home_.is_here()) return RPC_E_WRONG_THREAD;
    struct Adapter final : Callee {
      explicit Adapter(LateBound& object) : self(object) {}
      HRESULT call(DISPID id, commands::Argument* values) override { return self.call(id, values); }
      LateBound& self;
    } adapter(*this);
    return component_types::guarded(
        [&] { return invoke(type(), adapter, member, reserved, flags, arguments, result, exception, bad_argument); });
  }

 protected:
  ~LateBound() = default;

 private:
  static const TypeRow& type() {
    static const TypeRow& row = *find_type(interface_id<Methods>());
    return row;
  }

  const platform::Home home_;
};

// `Methods` as an object offers them: callable by name where the interface is dual, else as they are.
template <class Methods>
using Offered = std::conditional_t<std::is_base_of_v<IDispatch, Methods>, LateBound<Methods>, Methods>;

}  // namespace kestrine::scripting

namespace kestrine {

template <class Methods>
struct InterfaceId<scripting::LateBound<Methods>> : InterfaceId<Methods> {};

}  // namespace kestrine
