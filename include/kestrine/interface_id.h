// The identifier of an interface, reached through its type: interface_id<IDispatch>().
#pragma once

#include "kestrine/component.h"

namespace kestrine {

template <class Interface>
struct InterfaceId;  // specialised beside each interface: static constexpr const IID& value

template <const IID& Id>
struct InterfaceIdIs {
  static constexpr const IID& value = Id;
};

template <class Interface>
constexpr const IID& interface_id() {
  return InterfaceId<Interface>::value;
}

template <>
struct InterfaceId<IUnknown> : InterfaceIdIs<IID_IUnknown> {};
template <>
struct InterfaceId<IClassFactory> : InterfaceIdIs<IID_IClassFactory> {};
template <>
struct InterfaceId<IDispatch> : InterfaceIdIs<IID_IDispatch> {};
template <>
struct InterfaceId<IErrorInfo> : InterfaceIdIs<IID_IErrorInfo> {};
template <>
struct InterfaceId<ISupportErrorInfo> : InterfaceIdIs<IID_ISupportErrorInfo> {};
template <>
struct InterfaceId<IConnectionPoint> : InterfaceIdIs<IID_IConnectionPoint> {};
template <>
struct InterfaceId<IConnectionPointContainer> : InterfaceIdIs<IID_IConnectionPointContainer> {};
template <>
struct InterfaceId<IEnumConnections> : InterfaceIdIs<IID_IEnumConnections> {};
template <>
struct InterfaceId<IEnumConnectionPoints> : InterfaceIdIs<IID_IEnumConnectionPoints> {};
template <>
struct InterfaceId<IProvideClassInfo> : InterfaceIdIs<IID_IProvideClassInfo> {};
template <>
struct InterfaceId<IProvideClassInfo2> : InterfaceIdIs<IID_IProvideClassInfo2> {};

}  // namespace kestrine
