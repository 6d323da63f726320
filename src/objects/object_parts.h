// What component objects offer beside their own interface: all of them error information, command objects events and
// information on their class.
#pragma once

#include <vector>

#include "dispatch/enumerator.h"
#include "dispatch/event_source.h"
#include "kestrine/component.h"
#include "kestrine/interface_id.h"
#include "platform/home.h"
#include "scripting/type_info.h"

namespace kestrine::objects {

// Error information is set for failures of `Interface` and of no other.
template <class Interface>
class ErrorInfoSupport : public ISupportErrorInfo {
 public:
  HRESULT InterfaceSupportsErrorInfo(const IID& iid) override {
    if (!home_.is_here()) return RPC_E_WRONG_THREAD;
    return iid == interface_id<Interface>() ? S_OK : S_FALSE;
  }

 protected:
  ~ErrorInfoSupport() = default;

 private:
  const platform::Home home_;
};

// A command object's half of the event protocol: a container with exactly one connection point.
template <const IID& EventInterface>
class EventContainer : public IConnectionPointContainer {
 public:
  HRESULT FindConnectionPoint(const IID& iid, IConnectionPoint** point) override {
    if (point == nullptr) return E_POINTER;
    *point = nullptr;
    if (!home_.is_here()) return RPC_E_WRONG_THREAD;
    if (iid != EventInterface) return CONNECT_E_NOCONNECTION;
    *point = &source_;
    source_.AddRef();
    return S_OK;
  }

  HRESULT EnumConnectionPoints(IEnumConnectionPoints** points) override {
    if (!home_.is_here()) return RPC_E_WRONG_THREAD;
    const auto list = [this] { return std::vector<IConnectionPoint*>{&source_}; };
    return dispatch::PointEnumerator::create(*this, list, 0, points);
  }

 protected:
  ~EventContainer() = default;

  dispatch::EventSource source_{*this, EventInterface};

 private:
  const platform::Home home_;
};

// The class that fires these events.
inline const protocol::TypeRow* class_with_events(const IID& events) {
  for (const protocol::TypeRow& row : protocol::types()) {
    if (row.fires != nullptr && *row.fires->id == events) return &row;
  }
  return nullptr;
}

template <const IID& EventInterface>
class ClassInfo : public IProvideClassInfo2 {
 public:
  HRESULT GetClassInfo(ITypeInfo** info) override {
    if (!home_.is_here()) return RPC_E_WRONG_THREAD;
    const protocol::TypeRow* row = class_with_events(EventInterface);
    return row != nullptr ? scripting::get_type_info(*row, info) : E_UNEXPECTED;
  }
  HRESULT GetGUID(DWORD kind, GUID* id) override {
    if (!home_.is_here()) return RPC_E_WRONG_THREAD;
    if (id == nullptr) return E_POINTER;
    const bool known = kind == GUIDKIND_DEFAULT_SOURCE_DISP_IID;
    *id = known ? EventInterface : GUID_NULL;
    return known ? S_OK : E_INVALIDARG;
  }

 protected:
  ~ClassInfo() = default;

 private:
  const platform::Home home_;
};

}  // namespace kestrine::objects

namespace kestrine {

template <class Interface>
struct InterfaceId<objects::ErrorInfoSupport<Interface>> : InterfaceId<ISupportErrorInfo> {};
template <const IID& EventInterface>
struct InterfaceId<objects::EventContainer<EventInterface>> : InterfaceId<IConnectionPointContainer> {};
template <const IID& EventInterface>
struct InterfaceId<objects::ClassInfo<EventInterface>> : InterfaceId<IProvideClassInfo2> {};

}  // namespace kestrine
