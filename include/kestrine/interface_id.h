// The identifier of an interface, reached through its type: interface_id<IDispatch>().
#pragma once

#include "kestrine/component.h"

namespace kestrine {

template <class Interface>
struct InterfaceId;  // specialised beside each interface: static constexpr const IID& value

template <class Interface>
constexpr const IID& interface_id() {
  return InterfaceId<Interface>::value;
}

template <>
struct InterfaceId<IUnknown> {
  static constexpr const IID& value = IID_IUnknown;
};
template <>
struct InterfaceId<IClassFactory> {
  static constexpr const IID& value = IID_IClassFactory;
};
template <>
struct InterfaceId<IDispatch> {
  static constexpr const IID& value = IID_IDispatch;
};
template <>
struct InterfaceId<IErrorInfo> {
  static constexpr const IID& value = IID_IErrorInfo;
};
template <>
struct InterfaceId<ISupportErrorInfo> {
  static constexpr const IID& value = IID_ISupportErrorInfo;
};
template <>
struct InterfaceId<IConnectionPoint> {
  static constexpr const IID& value = IID_IConnectionPoint;
};
template <>
struct InterfaceId<IConnectionPointContainer> {
  static constexpr const IID& value = IID_IConnectionPointContainer;
};
template <>
struct InterfaceId<IEnumConnections> {
  static constexpr const IID& value = IID_IEnumConnections;
};
template <>
struct InterfaceId<IEnumConnectionPoints> {
  static constexpr const IID& value = IID_IEnumConnectionPoints;
};
template <>
struct InterfaceId<IProvideClassInfo> {
  static constexpr const IID& value = IID_IProvideClassInfo;
};
template <>
struct InterfaceId<IProvideClassInfo2> {
  static constexpr const IID& value = IID_IProvideClassInfo2;
};

}  // namespace kestrine
