// Classes found by name or identifier, and objects of them, under the functions' well-known names.
//
// A class is looked for among those that the user has registered, then among those of the system
// ($XDG_DATA_HOME/kestrine/classes.reg, then kestrine/classes.reg in the directories of $XDG_DATA_DIRS). The library
// named there is loaded, and stays loaded. Kestrine's own classes need no registration: where there is none, the
// libkestrine that stands beside this library is asked. The reason of a failure is in the thread's error information
// and in the host's log.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "kestrine/component.h"

inline constexpr HRESULT E_ACCESSDENIED = static_cast<HRESULT>(0x80070005);
inline constexpr HRESULT REGDB_E_READREGDB = static_cast<HRESULT>(0x80040150);
inline constexpr HRESULT REGDB_E_WRITEREGDB = static_cast<HRESULT>(0x80040151);
inline constexpr HRESULT REGDB_E_INVALIDVALUE = static_cast<HRESULT>(0x80040153);
inline constexpr HRESULT REGDB_E_CLASSNOTREG = static_cast<HRESULT>(0x80040154);
inline constexpr HRESULT CO_E_CLASSSTRING = static_cast<HRESULT>(0x800401F3);
inline constexpr HRESULT CO_E_DLLNOTFOUND = static_cast<HRESULT>(0x800401F8);
inline constexpr HRESULT CO_E_ERRORINDLL = static_cast<HRESULT>(0x800401F9);

// Where an object may live. Here it is always the caller's own process.
inline constexpr DWORD CLSCTX_INPROC_SERVER = 0x1;

// --- Memory for what the functions below hand out

KESTRINE_HOST_API void* CoTaskMemAlloc(std::size_t bytes);
KESTRINE_HOST_API void CoTaskMemFree(void* memory);

// --- Identifiers as text: {8 digits-4-4-4-12}, hexadecimal, in capital letters where they are made

// The number of characters with the zero behind them, 39; 0 when there are fewer than that to write to.
KESTRINE_HOST_API INT StringFromGUID2(REFGUID id, LPOLESTR text, INT length);
KESTRINE_HOST_API HRESULT StringFromCLSID(REFCLSID clsid, LPOLESTR* text);  // to be freed by CoTaskMemFree
// Also takes the name of a class. CO_E_CLASSSTRING for any other text; the zero identifier for null.
KESTRINE_HOST_API HRESULT CLSIDFromString(LPCOLESTR text, CLSID* clsid);

// --- Names of classes, such as Kestrine.LTConnect2 or, with a version, Kestrine.LTConnect2.1, in any case

// CO_E_CLASSSTRING for a name that nobody has registered.
KESTRINE_HOST_API HRESULT CLSIDFromProgID(LPCOLESTR name, CLSID* clsid);
// The name with the version, to be freed by CoTaskMemFree. REGDB_E_CLASSNOTREG for a class without one.
KESTRINE_HOST_API HRESULT ProgIDFromCLSID(REFCLSID clsid, LPOLESTR* name);

// --- Objects. REGDB_E_CLASSNOTREG for a class that nobody has registered and for any other context than
// CLSCTX_INPROC_SERVER, CO_E_DLLNOTFOUND for one whose library is gone, CO_E_ERRORINDLL for a library that cannot be
// loaded or has no classes; otherwise what the class says.

// The class object, in general by IClassFactory. `reserved` is not used.
KESTRINE_HOST_API HRESULT CoGetClassObject(REFCLSID clsid, DWORD context, void* reserved, REFIID iid, void** object);
KESTRINE_HOST_API HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** object);

namespace kestrine::host {

// Has a library enter its classes, or take them out again: its DllRegisterServer or DllUnregisterServer is called. An
// empty name means the libkestrine that stands beside this library.
KESTRINE_HOST_API HRESULT register_library(const std::string& file);
KESTRINE_HOST_API HRESULT unregister_library(const std::string& file);

struct RegisteredClass {
  std::string name;  // with the version
  std::string clsid;
  std::string library;
  std::string registered_in;  // the file that says so
};
// All of them, in the order in which they are looked for: of two with the same name the first counts.
KESTRINE_HOST_API HRESULT registered_classes(std::vector<RegisteredClass>& classes);

}  // namespace kestrine::host
