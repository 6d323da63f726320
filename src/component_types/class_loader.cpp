#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "component_types/error_info.h"
#include "component_types/text.h"
#include "kestrine/loader.h"
#include "kestrine/pointer.h"
#include "kestrine/text.h"
#include "platform/library.h"
#include "platform/registry.h"

namespace kestrine::component_types {
namespace {

using platform::RegistryText;

constexpr const char* kClasses = "CLSID";

// The libkestrine that stands beside this library, else the one on the system's search path.
std::string neighbour_library() {
  static const char here = 0;
  const std::filesystem::path own = to_utf8(platform::library_path(&here));
  const std::filesystem::path beside = own.parent_path() / KESTRINE_LIBRARY;
  std::error_code ignored;
  return std::filesystem::exists(beside, ignored) ? beside.string() : KESTRINE_LIBRARY;
}

// Loads a library of components and finds an exported function of it.
template <class Function>
HRESULT find_function(const std::string& file, const char* name, Function*& function) {
  std::string reason;
  void* const library = platform::load_library(file, reason);
  if (library == nullptr) {
    std::error_code ignored;
    return fail(std::filesystem::exists(file, ignored) ? CO_E_ERRORINDLL : CO_E_DLLNOTFOUND, reason);
  }
  function = reinterpret_cast<Function*>(platform::find_symbol(library, name));
  if (function != nullptr) return S_OK;
  return fail(CO_E_ERRORINDLL, file + " is no library of components: it has no " + name);
}

// An empty name means the library beside this one.
HRESULT call(const std::string& file, const char* name) {
  HRESULT (*function)() = nullptr;
  const HRESULT status = find_function(file.empty() ? neighbour_library() : file, name, function);
  return SUCCEEDED(status) ? function() : status;
}

HRESULT read_keys(const std::filesystem::path& file, RegistryText& text) {
  const platform::RegistryResult read = platform::read_registry(file, text);
  return FAILED(read.status) ? fail(read.status, read.reason) : read.status;
}

// What the library beside this one would register. A library that was merely built or unpacked is found this way, and
// only the library itself knows its classes. A failure is not kept: the library may come yet.
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
    const platform::RegistryCapture capture(entered);
    const HRESULT status = call({}, "DllRegisterServer");
    if (FAILED(status)) return status;
  }
  text = entered;
  const std::lock_guard lock(guard);
  answer = std::move(entered);
  return S_OK;
}

// A key's default value, from the first place that has it; S_FALSE when none has.
HRESULT look_up(const std::string& key, std::string& value) {
  const auto is_in = [&](const RegistryText& text) {
    const auto found = text.value(key, {});
    if (found) value = *found;
    return found.has_value();
  };
  RegistryText text;
  for (const auto& file : platform::registry_files()) {
    const HRESULT status = read_keys(file, text);
    if (FAILED(status)) return status;
    if (is_in(text)) return S_OK;
  }
  return SUCCEEDED(read_neighbour(text)) && is_in(text) ? S_OK : S_FALSE;
}

std::string class_key(const std::string& clsid, const char* subkey) {
  return std::string(kClasses) + "\\" + clsid + "\\" + subkey;
}

// The value in a class's key; REGDB_E_CLASSNOTREG when nobody has registered it.
HRESULT look_up_class(REFCLSID clsid, const char* subkey, std::string& value) {
  const std::string id = to_text(clsid);
  const HRESULT status = look_up(class_key(id, subkey), value);
  return status == S_FALSE ? fail(REGDB_E_CLASSNOTREG, "no class " + id + " is registered") : status;
}

}  // namespace
}  // namespace kestrine::component_types

using namespace kestrine;
using namespace kestrine::component_types;

HRESULT CLSIDFromProgID(LPCOLESTR name, CLSID* clsid) {
  if (name == nullptr || clsid == nullptr) return E_POINTER;
  *clsid = GUID_NULL;
  return guarded([&] {
    const std::string asked = to_utf8(name);
    std::string id;
    const HRESULT status = look_up(asked + "\\CLSID", id);
    if (FAILED(status)) return status;
    if (status == S_OK && read_guid(id, *clsid)) return S_OK;
    return fail(CO_E_CLASSSTRING, "no class of the name " + asked + " is registered");
  });
}

HRESULT ProgIDFromCLSID(REFCLSID clsid, LPOLESTR* name) {
  if (name == nullptr) return E_POINTER;
  *name = nullptr;
  return guarded([&] {
    std::string found;
    const HRESULT status = look_up_class(clsid, "ProgID", found);
    return SUCCEEDED(status) ? copy_to_task_memory(to_utf16(found), name) : status;
  });
}

HRESULT CoGetClassObject(REFCLSID clsid, DWORD context, void*, REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  return guarded([&] {
    if ((context & CLSCTX_INPROC_SERVER) == 0) {
      return fail(REGDB_E_CLASSNOTREG, "classes are to be had in the caller's own process only");
    }
    std::string file;
    HRESULT status = look_up_class(clsid, "InprocServer32", file);
    HRESULT (*get)(const CLSID&, const IID&, void**) = nullptr;
    if (SUCCEEDED(status)) status = find_function(file, "DllGetClassObject", get);
    return SUCCEEDED(status) ? get(clsid, iid, object) : status;
  });
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
  return guarded([&] { return call(file, "DllRegisterServer"); });
}

HRESULT unregister_library(const std::string& file) {
  return guarded([&] { return call(file, "DllUnregisterServer"); });
}

HRESULT registered_classes(std::vector<RegisteredClass>& classes) {
  classes.clear();
  return guarded([&] {
    for (const auto& file : platform::registry_files()) {
      RegistryText text;
      const HRESULT status = read_keys(file, text);
      if (FAILED(status)) return status;
      for (const std::string& id : text.subkeys(kClasses)) {
        const auto library = text.value(class_key(id, "InprocServer32"), {});
        if (!library) continue;
        classes.push_back({text.value(class_key(id, "ProgID"), {}).value_or(""), id, *library, file.string()});
      }
    }
    return S_OK;
  });
}

}  // namespace kestrine::host
