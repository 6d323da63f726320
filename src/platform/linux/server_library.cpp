#include "platform/linux/server_library.h"

#include <dlfcn.h>

#include <filesystem>
#include <system_error>

#include "kestrine/loader.h"
#include "kestrine/text.h"
#include "platform/library_path.h"
#include "platform/linux/failure.h"

namespace kestrine::platform {

HRESULT ServerLibrary::load(const std::string& file) {
  file_ = file;
  handle_ = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle_ != nullptr) return S_OK;
  const char* const reason = ::dlerror();
  std::error_code ignored;
  const bool there = std::filesystem::exists(file, ignored);
  return fail(there ? CO_E_ERRORINDLL : CO_E_DLLNOTFOUND, reason != nullptr ? reason : "cannot load " + file);
}

void* ServerLibrary::symbol(const char* name) const {
  return ::dlsym(handle_, name);
}

HRESULT ServerLibrary::no_such_function(const char* name) const {
  return fail(CO_E_ERRORINDLL, file_ + " is no library of components: it has no " + name);
}

std::string neighbour_library() {
  static const char here = 0;
  const std::filesystem::path own = to_utf8(library_path(&here));
  const std::filesystem::path beside = own.parent_path() / KESTRINE_LIBRARY;
  std::error_code ignored;
  return std::filesystem::exists(beside, ignored) ? beside.string() : KESTRINE_LIBRARY;
}

}  // namespace kestrine::platform
