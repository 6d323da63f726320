// What every component object offers beside its own interface.
#pragma once

#include <vector>

#include "events/enumerator.h"
#include "kestrine/component.h"
#include "kestrine/interface_id.h"

namespace kestrine::component {

// Error information is set for failures of `Interface` and of no other.
template <class Interface>
class ErrorInfoSupport : public ISupportErrorInfo {
 public:
  HRESULT InterfaceSupportsErrorInfo(const IID& iid) override {
    return iid == interface_id<Interface>() ? S_OK : S_FALSE;
  }

 protected:
  ~ErrorInfoSupport() = default;
};

// A command object's half of the event protocol: a container with exactly one connection point.
template <class Proxy, const IID& EventInterface>
class EventContainer : public IConnectionPointContainer {
 public:
  HRESULT FindConnectionPoint(const IID& iid, IConnectionPoint** point) override {
    if (point == nullptr) return E_POINTER;
    *point = nullptr;
    if (iid != EventInterface) return CONNECT_E_NOCONNECTION;
    *point = &source_;
    source_.AddRef();
    return S_OK;
  }

  HRESULT EnumConnectionPoints(IEnumConnectionPoints** points) override {
    const auto list = [this] { return std::vector<IConnectionPoint*>{&source_}; };
    return events::PointEnumerator::create(list, 0, points);
  }

 protected:
  ~EventContainer() = default;

  Proxy source_{*this, EventInterface};
};

}  // namespace kestrine::component

namespace kestrine {

template <class Interface>
struct InterfaceId<component::ErrorInfoSupport<Interface>> : InterfaceId<ISupportErrorInfo> {};
template <class Proxy, const IID& EventInterface>
struct InterfaceId<component::EventContainer<Proxy, EventInterface>> : InterfaceId<IConnectionPointContainer> {};

}  // namespace kestrine
