// The identifier of an interface, reached through its type: interface_id<IDispatch>().
#pragma once

#include "kestrine/component.h"

namespace kestrine {

template <class Interface>
struct InterfaceId;  // specialised beside each interface: static constexpr const IID& value

namespace detail {

template <const IID& Id>
struct IdentifiedBy {
  static constexpr const IID& value = Id;
};

}  // namespace detail

template <class Interface>
constexpr const IID& interface_id() {
  return InterfaceId<Interface>::value;
}

template <>
struct InterfaceId<IUnknown> : detail::IdentifiedBy<IID_IUnknown> {};
template <>
struct InterfaceId<IClassFactory> : detail::IdentifiedBy<IID_IClassFactory> {};
template <>
struct InterfaceId<IDispatch> : detail::IdentifiedBy<IID_IDispatch> {};
template <>
struct InterfaceId<IErrorInfo> : detail::IdentifiedBy<IID_IErrorInfo> {};
template <>
struct InterfaceId<ISupportErrorInfo> : detail::IdentifiedBy<IID_ISupportErrorInfo> {};
template <>
struct InterfaceId<IConnectionPoint> : detail::IdentifiedBy<IID_IConnectionPoint> {};
template <>
struct InterfaceId<IConnectionPointContainer> : detail::IdentifiedBy<IID_IConnectionPointContainer> {};
template <>
struct InterfaceId<IEnumConnections> : detail::IdentifiedBy<IID_IEnumConnections> {};
template <>
struct InterfaceId<IEnumConnectionPoints> : detail::IdentifiedBy<IID_IEnumConnectionPoints> {};
template <>
struct InterfaceId<IProvideClassInfo> : detail::IdentifiedBy<IID_IProvideClassInfo> {};
template <>
struct InterfaceId<IProvideClassInfo2> : detail::IdentifiedBy<IID_IProvideClassInfo2> {};

}  // namespace kestrine
