// What libkestrine.so shows to the outside.
#include "component/module.h"
#include "component/registration.h"

#define KESTRINE_ENTRY extern "C" __attribute__((visibility("default"))) HRESULT

KESTRINE_ENTRY DllGetClassObject(const CLSID& clsid, const IID& iid, void** object) {
  return kestrine::component::get_class_object(clsid, iid, object);
}

KESTRINE_ENTRY DllCanUnloadNow() {
  return kestrine::component::can_unload_now();
}

KESTRINE_ENTRY DllRegisterServer() {
  return kestrine::component::register_server();
}

KESTRINE_ENTRY DllUnregisterServer() {
  return kestrine::component::unregister_server();
}
