// Libraries of components, loaded by their path.
#pragma once

#include <string>

#include "kestrine/component.h"

namespace kestrine::platform {

// A library once loaded stays loaded: nobody knows which objects and threads still run in it.
class ServerLibrary {
 public:
  // CO_E_DLLNOTFOUND or CO_E_ERRORINDLL with the reason.
  HRESULT load(const std::string& file);

  // An exported function; CO_E_ERRORINDLL when there is none of that name.
  template <class Function>
  HRESULT find(const char* name, Function*& function) const {
    function = reinterpret_cast<Function*>(symbol(name));
    return function != nullptr ? S_OK : no_such_function(name);
  }

 private:
  void* symbol(const char* name) const;
  HRESULT no_such_function(const char* name) const;

  std::string file_;
  void* handle_ = nullptr;
};

// The libkestrine that stands beside this library, else the one on the system's search path.
std::string neighbour_library();

}  // namespace kestrine::platform
