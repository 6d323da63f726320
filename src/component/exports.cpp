// What libkestrine.so shows to the outside.
#include "component/module.h"

#define KESTRINE_ENTRY extern "C" __attribute__((visibility("default")))

KESTRINE_ENTRY HRESULT DllGetClassObject(const CLSID& clsid, const IID& iid, void** object) {
  return kestrine::component::get_class_object(clsid, iid, object);
}

KESTRINE_ENTRY HRESULT DllCanUnloadNow() {
  return kestrine::component::can_unload_now();
}
