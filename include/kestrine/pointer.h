// A smart pointer for counted interfaces.
#pragma once

#include <utility>

#include "kestrine/component.h"
#include "kestrine/interface_id.h"

namespace kestrine {

template <class Interface>
class Pointer {
 public:
  Pointer() = default;
  // Shares `object`, which keeps the reference it had.
  explicit Pointer(Interface* object) : object_(object) {
    if (object_ != nullptr) object_->AddRef();
  }
  Pointer(const Pointer& other) : Pointer(other.object_) {}
  Pointer(Pointer&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  Pointer& operator=(Pointer other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~Pointer() { reset(); }

  // Takes over a reference that the caller owns.
  static Pointer adopt(Interface* object) {
    Pointer owner;
    owner.object_ = object;
    return owner;
  }

  void reset() {
    // The slot is emptied first: the release may run code that comes back here.
    if (Interface* object = std::exchange(object_, nullptr)) object->Release();
  }

  // Gives the reference away; the caller owns it from here on.
  Interface* detach() { return std::exchange(object_, nullptr); }

  Interface* get() const { return object_; }
  Interface* operator->() const { return object_; }
  Interface& operator*() const { return *object_; }
  explicit operator bool() const { return object_ != nullptr; }

  // For output parameters: drops what is held and hands out the empty slot.
  Interface** put() {
    reset();
    return &object_;
  }
  void** put_void() { return reinterpret_cast<void**>(put()); }

  // The same object by another interface; empty when it has none.
  template <class Other>
  Pointer<Other> query() const {
    Pointer<Other> other;
    if (object_ != nullptr && FAILED(object_->QueryInterface(interface_id<Other>(), other.put_void()))) return {};
    return other;
  }

 private:
  Interface* object_ = nullptr;
};

}  // namespace kestrine
