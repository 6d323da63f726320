// The second generation as a script meets it: objects asked by name, arguments as variants.
#pragma once

#include <gtest/gtest.h>

#include <deque>
#include <initializer_list>
#include <string>
#include <vector>

#include "environment.h"
#include "kestrine/error.h"
#include "kestrine/interfaces.h"
#include "kestrine/pointer.h"
#include "kestrine/text.h"
#include "objects/module.h"
#include "scripted_peer.h"

namespace kestrine::test {

// A variant that owns what it holds.
class Value {
 public:
  Value() = default;
  Value(std::int32_t number) { set(VT_I4).lVal = number; }
  Value(double number) { set(VT_R8).dblVal = number; }
  Value(bool flag) { set(VT_BOOL).boolVal = flag ? VARIANT_TRUE : VARIANT_FALSE; }
  Value(const char16_t* text) { set(VT_BSTR).bstrVal = SysAllocString(text); }
  Value(Value&& other) noexcept : held_(std::exchange(other.held_, VARIANT{})) {}
  ~Value() { VariantClear(&held_); }

  // As an output argument: a reference to this variant.
  static VARIANT to(Value& target) { return to(target.held_); }
  static VARIANT to(VARIANT& target) {
    VARIANT reference{};
    reference.vt = VT_BYREF | VT_VARIANT;
    reference.pvarVal = &target;
    return reference;
  }
  template <class Number>
  static VARIANT to(VARTYPE type, Number& target) {
    VARIANT reference{};
    reference.vt = static_cast<VARTYPE>(VT_BYREF | type);
    reference.byref = &target;
    return reference;
  }

  VARIANT& operator*() { return held_; }
  VARIANT* operator->() { return &held_; }

 private:
  VARIANT& set(VARTYPE type) {
    held_.vt = type;
    return held_;
  }

  VARIANT held_{};
};

struct Called {
  HRESULT code = S_OK;
  HRESULT scode = S_OK;  // of the exception record
  std::string source;
  std::string description;
  UINT bad = 99;
};

class LateClient : public testing::Test {
 protected:
  explicit LateClient(const connection::Rules& rules = connection::kClassicRules) : module(rules) {
    environment.set(u"NonblockingConnect", 0);
    connection = Pointer<IDispatch>::adopt(create(CLSID_LTConnect2));
  }

  IDispatch* create(const CLSID& clsid) {
    Pointer<IClassFactory> factory;
    void* object = nullptr;
    EXPECT_EQ(module.get_class_object(clsid, IID_IClassFactory, factory.put_void()), S_OK);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IDispatch, &object), S_OK);
    return static_cast<IDispatch*>(object);
  }

  // The member's identifier, then those of the parameters named after it.
  static std::vector<DISPID> ids(IDispatch& object, std::vector<const char16_t*> names, HRESULT expected = S_OK) {
    std::vector<DISPID> found(names.size());
    auto* texts = const_cast<LPOLESTR*>(reinterpret_cast<const OLECHAR* const*>(names.data()));
    const auto count = static_cast<UINT>(names.size());
    EXPECT_EQ(object.GetIDsOfNames(IID_NULL, texts, count, LOCALE_USER_DEFAULT, found.data()), expected);
    return found;
  }

  // Arguments in the order of their parameters; those that `named` counts are the last ones, for the named parameters.
  static Called call(IDispatch& object, DISPID id, WORD flags, const std::vector<VARIANT>& arguments,
                     std::vector<DISPID> named = {}, VARIANT* result = nullptr) {
    std::vector<VARIANT> reversed(arguments.rbegin(), arguments.rend());
    std::vector<DISPID> names(named.rbegin(), named.rend());
    DISPPARAMS given{reversed.data(), names.data(), static_cast<UINT>(reversed.size()),
                     static_cast<UINT>(names.size())};
    EXCEPINFO exception{};
    Called called;
    called.code = object.Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &given, result, &exception, &called.bad);
    called.scode = exception.scode;
    const auto take = [](BSTR text) {
      std::string out = to_utf8({text, SysStringLen(text)});
      SysFreeString(text);
      return out;
    };
    called.source = take(exception.bstrSource);
    called.description = take(exception.bstrDescription);
    return called;
  }
  static Called call(IDispatch& object, const char16_t* name, const std::vector<VARIANT>& arguments = {}) {
    return call(object, ids(object, {name})[0], DISPATCH_METHOD, arguments);
  }

  // Connects, with a server that answers as told, and fetches a command object.
  Pointer<IDispatch> commands(const char16_t* property, ScriptedPeer::Reply reply) {
    Value address(u"127.0.0.1");
    Value port(static_cast<std::int32_t>(peer.port()));
    EXPECT_EQ(call(*connection, u"ConnectEmbeddedSystem", {*address, *port}).code, S_OK);
    peer.accept();
    if (reply) peer.serve(std::move(reply));
    Value object;
    const DISPID id = ids(*connection, {property})[0];
    EXPECT_EQ(call(*connection, id, DISPATCH_PROPERTYGET, {}, {}, &*object).code, S_OK);
    EXPECT_EQ(object->vt, VT_DISPATCH);
    return Pointer<IDispatch>(object->pdispVal);
  }

  Environment environment;
  ScriptedPeer peer;
  objects::Module module;
  Pointer<IDispatch> connection;
};

}  // namespace kestrine::test
