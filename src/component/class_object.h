// The class objects of the six classes.
#pragma once

#include <atomic>

#include "kestrine/component.h"
#include "transport/slots.h"

namespace kestrine::component {

// Makes an object of a class, with a count of one; `outer` is null unless it becomes part of another object.
using Creator = IUnknown* (*)(transport::Slots& slots, IUnknown* outer);

// Kept by the module, whose reference is the first one; as long as anybody else has one, the module stays loaded.
// Counting is safe from any thread, as threads share class objects.
class ClassObject final : public IClassFactory {
 public:
  ClassObject(transport::Slots& slots, Creator create) : slots_(slots), create_(create) {}

  HRESULT QueryInterface(const IID& iid, void** object) override;
  ULONG AddRef() override;
  ULONG Release() override;
  HRESULT CreateInstance(IUnknown* outer, const IID& iid, void** object) override;
  HRESULT LockServer(BOOL lock) override;

 private:
  transport::Slots& slots_;
  Creator create_;
  std::atomic<ULONG> count_ = 1;
};

}  // namespace kestrine::component
