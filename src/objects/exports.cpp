// What libkestrine.so shows to the outside.
#include "component_types/error_info.h"
#include "connection/rules.h"
#include "objects/module.h"
#include "objects/registration.h"
#include "platform/behaviour.h"

namespace {

// Made on first use and never destroyed: objects that an application keeps in its own static storage may be released
// after everything of ours would have gone.
kestrine::objects::Module& module() {
  static auto* const made =
      new kestrine::objects::Module(kestrine::connection::rules_of(kestrine::platform::fix_behaviour()));
  return *made;
}

}  // namespace

using kestrine::component_types::guarded;

#define KESTRINE_ENTRY extern "C" __attribute__((visibility("default"))) HRESULT

KESTRINE_ENTRY DllGetClassObject(const CLSID& clsid, const IID& iid, void** object) {
  return guarded([&] { return module().get_class_object(clsid, iid, object); });
}

KESTRINE_ENTRY DllCanUnloadNow() {
  return guarded([] { return module().can_unload_now(); });
}

KESTRINE_ENTRY DllRegisterServer() {
  return guarded(&kestrine::objects::register_server);
}

KESTRINE_ENTRY DllUnregisterServer() {
  return guarded(&kestrine::objects::unregister_server);
}
