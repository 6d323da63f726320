// Counting, interface queries and aggregation, written once for all component classes.
#pragma once

#include <type_traits>

#include "dispatch/process_state.h"
#include "kestrine/component.h"
#include "kestrine/interface_id.h"
#include "platform/home.h"

namespace kestrine::objects {

// An object that offers `Interfaces`, alone or as the inner part of another object. Its interfaces count and are asked
// by the outer object, if there is one; the inner IUnknown, made with a count of one, by itself. Lives on one thread:
// elsewhere it is neither counted nor asked. Keeps the module loaded.
template <class First, class... Others>
class ComponentObject : private dispatch::KeepsLoaded, public First, public Others... {
 public:
  ComponentObject(dispatch::ProcessState& process, IUnknown* outer)
      : KeepsLoaded(process), inner_(*this), controlling_(outer == nullptr ? &inner_ : outer) {}
  ComponentObject(const ComponentObject&) = delete;
  ComponentObject& operator=(const ComponentObject&) = delete;

  HRESULT QueryInterface(const IID& iid, void** object) override { return controlling_->QueryInterface(iid, object); }
  ULONG AddRef() override { return controlling_->AddRef(); }
  ULONG Release() override { return controlling_->Release(); }

  IUnknown* inner() { return &inner_; }

 protected:
  virtual ~ComponentObject() = default;

 private:
  class Inner final : public IUnknown {
   public:
    explicit Inner(ComponentObject& owner) : owner_(owner) {}

    HRESULT QueryInterface(const IID& iid, void** object) override {
      if (object == nullptr) return E_POINTER;
      *object = nullptr;
      if (!home_.is_here()) return RPC_E_WRONG_THREAD;
      *object = this;
      IUnknown* const found = iid == IID_IUnknown ? this : owner_.find_interface(iid, *object);
      if (found == nullptr) return E_NOINTERFACE;
      found->AddRef();
      return S_OK;
    }
    ULONG AddRef() override { return home_.is_here() ? ++count_ : 1; }
    ULONG Release() override {
      if (!home_.is_here()) return 1;
      const ULONG left = --count_;
      if (left == 0) {
        count_ = 1;  // so that a reference taken and dropped by the destructor does not delete twice
        delete &owner_;
      }
      return left;
    }

   private:
    ComponentObject& owner_;
    const platform::Home home_;
    ULONG count_ = 1;
  };

  template <class Base>
  IUnknown* offer(void*& object) {
    Base* const base = this;
    object = base;
    return base;
  }

  // The interface as a caller gets it, and as something to count by; null when there is none.
  IUnknown* find_interface(const IID& iid, void*& object) {
    object = nullptr;
    if (iid == interface_id<First>()) return offer<First>(object);
    if constexpr (std::is_base_of_v<IDispatch, First>) {
      if (iid == IID_IDispatch) return offer<First>(object);
    }
    if constexpr ((std::is_base_of_v<IProvideClassInfo2, Others> || ...)) {
      if (iid == IID_IProvideClassInfo) return find_interface(IID_IProvideClassInfo2, object);
    }
    IUnknown* found = nullptr;
    static_cast<void>(((iid == interface_id<Others>() && (found = offer<Others>(object)) != nullptr) || ...));
    return found;
  }

  Inner inner_;
  IUnknown* const controlling_;
};

}  // namespace kestrine::objects
