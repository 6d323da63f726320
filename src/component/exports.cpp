// What libkestrine.so shows to the outside.
#include "component/module.h"

extern "C" __attribute__((visibility("default"))) HRESULT DllGetClassObject(const CLSID& clsid, const IID& iid,
                                                                            void** object) {
  return kestrine::component::get_class_object(clsid, iid, object);
}
