#include "objects/registration.h"

#include <string>
#include <string_view>
#include <vector>

#include "component_types/error_info.h"
#include "kestrine/interfaces.h"
#include "kestrine/loader.h"
#include "objects/class_names.h"
#include "platform/library.h"
#include "platform/library_version.h"
#include "platform/registry.h"

namespace kestrine::objects {
namespace {

using platform::RegistryEdit;
using Edits = std::vector<RegistryEdit>;

// What becomes of a row's key as a whole; all keys of others beside ours stay.
enum class Tree {
  kPart,       // belongs to the tree of a row above
  kOwn,        // is removed when the library is taken out
  kRewritten,  // and also before it is entered, so that nothing of an older version remains
};

// A value, or with a null `value` a key without any. %words% stand for what differs between classes and places.
struct Row {
  Tree tree;
  const char16_t* key;
  const char16_t* name;
  const char16_t* value;
};

constexpr Row kClassScript[] = {
    {Tree::kOwn, u"%VERSIONED%", u"", u"%CLASS% Class"},
    {Tree::kPart, u"%VERSIONED%\\CLSID", u"", u"%CLSID%"},
    {Tree::kOwn, u"%PROGRAM%", u"", u"%CLASS% Class"},
    {Tree::kPart, u"%PROGRAM%\\CLSID", u"", u"%CLSID%"},
    {Tree::kPart, u"%PROGRAM%\\CurVer", u"", u"%VERSIONED%"},
    {Tree::kRewritten, u"CLSID\\%CLSID%", u"", u"%CLASS% Class"},
    {Tree::kPart, u"CLSID\\%CLSID%", u"AppID", u"%APPID%"},
    {Tree::kPart, u"CLSID\\%CLSID%\\ProgID", u"", u"%VERSIONED%"},
    {Tree::kPart, u"CLSID\\%CLSID%\\VersionIndependentProgID", u"", u"%PROGRAM%"},
    {Tree::kPart, u"CLSID\\%CLSID%\\InprocServer32", u"", u"%MODULE%"},
    {Tree::kPart, u"CLSID\\%CLSID%\\InprocServer32", u"ThreadingModel", u"Apartment"},
    {Tree::kPart, u"CLSID\\%CLSID%\\TypeLib", u"", u"%LIBID%"},
};

// In addition, for classes that scripts use.
constexpr Row kDispatchScript[] = {
    {Tree::kPart, u"CLSID\\%CLSID%\\Programmable", nullptr, nullptr},
};

constexpr Row kApplicationScript[] = {
    {Tree::kOwn, u"AppID\\%APPID%", u"", u"Kestrine"},
    {Tree::kOwn, u"AppID\\Kestrine.DLL", u"AppID", u"%APPID%"},
};

// Neutral as to language.
constexpr Row kTypeLibraryScript[] = {
    {Tree::kOwn, u"TypeLib\\%LIBID%\\%LIBVER%", u"", u"KESTRINELib"},
    {Tree::kPart, u"TypeLib\\%LIBID%\\%LIBVER%\\0\\linux64", u"", u"%MODULE%"},
    {Tree::kPart, u"TypeLib\\%LIBID%\\%LIBVER%\\FLAGS", u"", u"0"},
};

std::u16string to_text(const GUID& id) {
  OLECHAR text[39];
  StringFromGUID2(id, text, std::size(text));
  return text;
}

// Turns scripts into edits of the registry.
class Registrar {
 public:
  Registrar(bool entering, std::u16string module) : entering_(entering), module_(std::move(module)) {}

  template <std::size_t kRows>
  void run(const Row (&script)[kRows], const ClassName& of = {u"", u"", u"", GUID_NULL, false}) {
    for (const Row& row : script) add(row, of);
  }

  HRESULT commit() const {
    const platform::RegistryResult result = platform::edit_registry(edits_);
    return FAILED(result.status) ? component_types::fail(result.status, result.reason) : result.status;
  }

 private:
  void add(const Row& row, const ClassName& of) {
    const std::u16string key = filled(row.key, of);
    if (row.tree == Tree::kRewritten || (row.tree == Tree::kOwn && !entering_)) {
      edits_.push_back({RegistryEdit::Kind::kRemoveTree, key, {}, {}});
    }
    if (!entering_) return;
    if (row.value == nullptr) {
      edits_.push_back({RegistryEdit::Kind::kAddKey, key, {}, {}});
    } else {
      edits_.push_back({RegistryEdit::Kind::kSetValue, key, row.name, filled(row.value, of)});
    }
  }

  std::u16string filled(std::u16string_view text, const ClassName& of) const {
    std::u16string out;
    for (bool word = false;; word = !word) {
      const std::size_t end = text.find(u'%');
      out += word ? meaning(text.substr(0, end), of) : std::u16string(text.substr(0, end));
      if (end == text.npos) return out;
      text.remove_prefix(end + 1);
    }
  }

  std::u16string meaning(std::u16string_view word, const ClassName& of) const {
    if (word == u"CLASS") return of.name;
    if (word == u"PROGRAM") return of.program;
    if (word == u"VERSIONED") return of.versioned_program;
    if (word == u"CLSID") return to_text(of.clsid);
    if (word == u"APPID") return to_text(APPID_Kestrine);
    if (word == u"LIBID") return to_text(LIBID_KESTRINELib);
    if (word == u"LIBVER") return std::u16string(platform::kTypeLibraryVersion);
    return module_;
  }

  bool entering_;
  std::u16string module_;
  Edits edits_;
};

HRESULT run_scripts(bool entering) {
  const std::u16string module = platform::library_path(reinterpret_cast<const void*>(&run_scripts));
  if (module.empty()) return E_FAIL;
  Registrar registrar(entering, module);
  registrar.run(kTypeLibraryScript);
  for (const ClassName& each : kClassNames) {
    registrar.run(kClassScript, each);
    if (each.for_scripts) registrar.run(kDispatchScript, each);
  }
  registrar.run(kApplicationScript);
  return registrar.commit();
}

}  // namespace

HRESULT register_server() {
  return run_scripts(true);
}

HRESULT unregister_server() {
  return run_scripts(false);
}

}  // namespace kestrine::objects
