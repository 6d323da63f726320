#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kestrine/loader.h"
#include "kestrine/pointer.h"
#include "kestrine/text.h"
#include "platform/linux/failure.h"
#include "platform/linux/guid_text.h"
#include "platform/linux/registry_files.h"
#include "platform/linux/server_library.h"

namespace kestrine::platform {
namespace {

constexpr const char* kClasses = "CLSID";

HRESULT enter(const std::string& file, const char* function) {
  ServerLibrary library;
  HRESULT status = library.load(file.empty() ? neighbour_library() : file);
  HRESULT (*call)() = nullptr;
  if (SUCCEEDED(status)) status = library.find(function, call);
  return SUCCEEDED(status) ? call() : status;
}

// What the neighbour would register. A library that was merely built or unpacked is found this way, and only the
// library itself knows its classes. A failure is not kept: the library may come yet.
HRESULT read_neighbour(RegistryText& text) {
  static std::mutex guard;
  static std::optional<RegistryText> answer;
  {
    const std::lock_guard lock(guard);
    if (answer) {
      text = *answer;
      return S_OK;
    }
  }
  // Not under the lock: the library and the host's log hook may come back here.
  RegistryText entered;
  {
    const RegistryCapture capture(entered);
    const HRESULT status = enter({}, "DllRegisterServer");
    if (FAILED(status)) return status;
  }
  text = entered;
  const std::lock_guard lock(guard);
  answer = std::move(entered);
  return S_OK;
}

// A key's default value, from the first place that has it; S_FALSE when none has.
HRESULT look_up(const std::string& key, std::string& value) {
  const auto found_in = [&](const RegistryText& text) {
    const auto found = text.value(key, {});
    if (found) value = *found;
    return found.has_value();
  };
  RegistryText text;
  for (const auto& file : registry_files()) {
    const HRESULT status = read_registry(file, text);
    if (FAILED(status)) return status;
    if (found_in(text)) return S_OK;
  }
  return SUCCEEDED(read_neighbour(text)) && found_in(text) ? S_OK : S_FALSE;
}

std::string class_key(const std::string& clsid, const char* subkey) {
  return std::string(kClasses) + "\\" + clsid + "\\" + subkey;
}

HRESULT not_registered(const std::string& clsid) {
  return fail(REGDB_E_CLASSNOTREG, "no class " + clsid + " is registered");
}

HRESULT get_class_object(const CLSID& clsid, const IID& iid, void** object) {
  const std::string id = to_text(clsid);
  std::string file;
  HRESULT status = look_up(class_key(id, "InprocServer32"), file);
  if (status == S_FALSE) return not_registered(id);
  ServerLibrary library;
  HRESULT (*get)(const CLSID&, const IID&, void**) = nullptr;
  if (SUCCEEDED(status)) status = library.load(file);
  if (SUCCEEDED(status)) status = library.find("DllGetClassObject", get);
  return SUCCEEDED(status) ? get(clsid, iid, object) : status;
}

}  // namespace
}  // namespace kestrine::platform

using namespace kestrine;

HRESULT CLSIDFromProgID(LPCOLESTR name, CLSID* clsid) {
  if (name == nullptr || clsid == nullptr) return E_POINTER;
  *clsid = GUID_NULL;
  const std::string asked = to_utf8(name);
  std::string id;
  const HRESULT status = platform::look_up(asked + "\\CLSID", id);
  if (FAILED(status)) return status;
  if (status == S_OK && platform::read_guid(id, *clsid)) return S_OK;
  return platform::fail(CO_E_CLASSSTRING, "no class of the name " + asked + " is registered");
}

HRESULT ProgIDFromCLSID(REFCLSID clsid, LPOLESTR* name) {
  if (name == nullptr) return E_POINTER;
  *name = nullptr;
  const std::string id = platform::to_text(clsid);
  std::string found;
  const HRESULT status = platform::look_up(platform::class_key(id, "ProgID"), found);
  if (FAILED(status)) return status;
  if (status == S_FALSE) return platform::not_registered(id);
  const std::u16string text = to_utf16(found);
  *name = static_cast<LPOLESTR>(CoTaskMemAlloc((text.size() + 1) * sizeof(OLECHAR)));
  if (*name == nullptr) return E_OUTOFMEMORY;
  (*name)[text.copy(*name, text.size())] = 0;
  return S_OK;
}

HRESULT CoGetClassObject(REFCLSID clsid, DWORD context, void*, REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if ((context & CLSCTX_INPROC_SERVER) == 0) {
    return platform::fail(REGDB_E_CLASSNOTREG, "classes are to be had in the caller's own process only");
  }
  return platform::get_class_object(clsid, iid, object);
}

HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  Pointer<IClassFactory> factory;
  const HRESULT status = CoGetClassObject(clsid, context, nullptr, IID_IClassFactory, factory.put_void());
  return SUCCEEDED(status) ? factory->CreateInstance(outer, iid, object) : status;
}

namespace kestrine::host {

HRESULT register_library(const std::string& file) {
  return platform::enter(file, "DllRegisterServer");
}

HRESULT unregister_library(const std::string& file) {
  return platform::enter(file, "DllUnregisterServer");
}

HRESULT registered_classes(std::vector<RegisteredClass>& classes) {
  classes.clear();
  for (const auto& file : platform::registry_files()) {
    platform::RegistryText text;
    const HRESULT status = platform::read_registry(file, text);
    if (FAILED(status)) return status;
    for (const std::string& id : text.subkeys(platform::kClasses)) {
      const auto library = text.value(platform::class_key(id, "InprocServer32"), {});
      if (!library) continue;
      classes.push_back({text.value(platform::class_key(id, "ProgID"), {}).value_or(""), id, *library, file.string()});
    }
  }
  return S_OK;
}

}  // namespace kestrine::host
