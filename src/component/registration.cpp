#include "component/registration.h"

#include <string>
#include <string_view>
#include <vector>

#include "component_types/error_info.h"
#include "kestrine/interfaces.h"
#include "kestrine/loader.h"
#include "platform/library.h"
#include "platform/registry.h"

namespace kestrine::component {
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
    {Tree::kOwn, u"Kestrine.%CLASS%.1", u"", u"%CLASS% Class"},
    {Tree::kPart, u"Kestrine.%CLASS%.1\\CLSID", u"", u"%CLSID%"},
    {Tree::kOwn, u"Kestrine.%CLASS%", u"", u"%CLASS% Class"},
    {Tree::kPart, u"Kestrine.%CLASS%\\CLSID", u"", u"%CLSID%"},
    {Tree::kPart, u"Kestrine.%CLASS%\\CurVer", u"", u"Kestrine.%CLASS%.1"},
    {Tree::kRewritten, u"CLSID\\%CLSID%", u"", u"%CLASS% Class"},
    {Tree::kPart, u"CLSID\\%CLSID%", u"AppID", u"%APPID%"},
    {Tree::kPart, u"CLSID\\%CLSID%\\ProgID", u"", u"Kestrine.%CLASS%.1"},
    {Tree::kPart, u"CLSID\\%CLSID%\\VersionIndependentProgID", u"", u"Kestrine.%CLASS%"},
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

// The version 8.3; neutral as to language.
constexpr Row kTypeLibraryScript[] = {
    {Tree::kOwn, u"TypeLib\\%LIBID%\\8.3", u"", u"KESTRINELib"},
    {Tree::kPart, u"TypeLib\\%LIBID%\\8.3\\0\\linux64", u"", u"%MODULE%"},
    {Tree::kPart, u"TypeLib\\%LIBID%\\8.3\\FLAGS", u"", u"0"},
};

struct Class {
  const char16_t* name;
  const CLSID& clsid;
  bool dispatch;
};

constexpr Class kClasses[] = {
    {u"LTCommandSync", CLSID_LTCommandSync, false},   {u"LTCommandSync2", CLSID_LTCommandSync2, true},
    {u"LTCommandAsync", CLSID_LTCommandAsync, false}, {u"LTCommandAsync2", CLSID_LTCommandAsync2, true},
    {u"LTConnect", CLSID_LTConnect, false},           {u"LTConnect2", CLSID_LTConnect2, true},
};

std::u16string to_text(const GUID& id) {
  OLECHAR text[39];
  StringFromGUID2(id, text, std::size(text));
  return text;
}

// The registrar: turns scripts into edits.
class Registrar {
 public:
  Registrar(bool entering, std::u16string module) : entering_(entering), module_(std::move(module)) {}

  template <std::size_t kRows>
  void run(const Row (&script)[kRows], const Class& of = {u"", GUID_NULL, false}) {
    for (const Row& row : script) add(row, of);
  }

  HRESULT commit() const {
    const platform::RegistryResult result = platform::edit_registry(edits_);
    return FAILED(result.status) ? component_types::fail(result.status, result.reason) : result.status;
  }

 private:
  void add(const Row& row, const Class& of) {
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

  std::u16string filled(std::u16string_view text, const Class& of) const {
    std::u16string out;
    for (bool word = false;; word = !word) {
      const std::size_t end = text.find(u'%');
      out += word ? meaning(text.substr(0, end), of) : std::u16string(text.substr(0, end));
      if (end == text.npos) return out;
      text.remove_prefix(end + 1);
    }
  }

  std::u16string meaning(std::u16string_view word, const Class& of) const {
    if (word == u"CLASS") return of.name;
    if (word == u"CLSID") return to_text(of.clsid);
    if (word == u"APPID") return to_text(APPID_Kestrine);
    if (word == u"LIBID") return to_text(LIBID_KESTRINELib);
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
  for (const Class& each : kClasses) {
    registrar.run(kClassScript, each);
    if (each.dispatch) registrar.run(kDispatchScript, each);
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

}  // namespace kestrine::component
