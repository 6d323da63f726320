#include "platform/library.h"

#include <dlfcn.h>

#include <filesystem>
#include <system_error>

#include "kestrine/text.h"

namespace kestrine::platform {

std::u16string library_path(const void* inside) {
  Dl_info library{};
  if (::dladdr(inside, &library) == 0 || library.dli_fname == nullptr) return {};
  std::error_code failed;
  const auto named = std::filesystem::absolute(library.dli_fname, failed);
  if (failed) return {};
  const auto directory = std::filesystem::canonical(named.parent_path(), failed);
  // Where a folder on the way cannot be read, the path stays as it was given.
  return to_utf16((failed ? named.lexically_normal() : directory / named.filename()).string());
}

void* load_library(const std::string& file, std::string& reason) {
  void* const library = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library != nullptr) return library;
  const char* const said = ::dlerror();
  reason = said != nullptr ? said : "cannot load " + file;
  return nullptr;
}

void* find_symbol(void* library, const char* name) {
  return ::dlsym(library, name);
}

}  // namespace kestrine::platform
