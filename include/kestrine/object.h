// Counting and interface queries, written once for every object of ours and for sinks of applications.
#pragma once

#include "kestrine/component.h"
#include "kestrine/interface_id.h"

namespace kestrine {

// An object that offers `Interfaces`, the first of them also as its IUnknown. It is made with a count of one
// and deletes itself at the last release. Objects live on one thread: the count is a plain number.
template <class First, class... Others>
class Object : public First, public Others... {
 public:
  Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  HRESULT QueryInterface(const IID& iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = find_interface(iid);
    if (*object == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }

  ULONG AddRef() override { return ++count_; }

  ULONG Release() override {
    const ULONG left = --count_;
    if (left == 0) {
      count_ = 1;  // so that a reference taken and dropped by the destructor does not delete twice
      delete this;
    }
    return left;
  }

 protected:
  virtual ~Object() = default;

  // Null when the object has no such interface. An object with more to offer extends this.
  virtual void* find_interface(const IID& iid) {
    if (iid == IID_IUnknown || iid == interface_id<First>()) return static_cast<First*>(this);
    void* found = nullptr;
    static_cast<void>(((iid == interface_id<Others>() && (found = static_cast<Others*>(this)) != nullptr) || ...));
    return found;
  }

 private:
  ULONG count_ = 1;
};

}  // namespace kestrine
