// Everything an application needs: interfaces, records, events, a smart pointer and the host services.
#pragma once

#include "kestrine/com_error.h"
#include "kestrine/component.h"
#include "kestrine/continuous.h"
#include "kestrine/error.h"
#include "kestrine/events.h"
#include "kestrine/host.h"
#include "kestrine/interfaces.h"
#include "kestrine/loader.h"
#include "kestrine/packet.h"
#include "kestrine/pointer.h"
#include "kestrine/records.h"
#include "kestrine/subscription.h"
#include "kestrine/text.h"

extern "C" HRESULT DllGetClassObject(const CLSID& clsid, const IID& iid, void** object);

namespace kestrine {

// A new object of one of the library's classes, such as create<ILTConnect>(CLSID_LTConnect).
template <class Interface>
Pointer<Interface> create(const CLSID& clsid) {
  Pointer<IClassFactory> factory;
  check(DllGetClassObject(clsid, IID_IClassFactory, factory.put_void()));
  Pointer<Interface> object;
  check(factory->CreateInstance(nullptr, interface_id<Interface>(), object.put_void()));
  return object;
}

// The same by the name of a class, such as create<ILTConnect2>(u"Kestrine.LTConnect2"), from the library that has
// registered it.
template <class Interface>
Pointer<Interface> create(const OLECHAR* name) {
  CLSID clsid;
  check(CLSIDFromProgID(name, &clsid));
  Pointer<Interface> object;
  check(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, interface_id<Interface>(), object.put_void()));
  return object;
}

// The connection's synchronous command object. Fetch it once connected.
inline Pointer<ILTCommandSync> command_sync(ILTConnect& connection) {
  Pointer<IUnknown> object;
  check(connection.get_ILTCommandSync(object.put()));
  return object.query<ILTCommandSync>();
}

// The connection's asynchronous command object, for applications that never wait.
inline Pointer<ILTCommandAsync> command_async(ILTConnect& connection) {
  Pointer<IUnknown> object;
  check(connection.get_ILTCommandAsync(object.put()));
  return object.query<ILTCommandAsync>();
}

}  // namespace kestrine
