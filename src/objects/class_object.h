// The class objects, which create the objects of their classes.
#pragma once

#include <atomic>

#include "dispatch/generation.h"
#include "kestrine/component.h"

namespace kestrine::objects {

// Makes an object of a class, with a count of one; `outer` is null unless it becomes part of another object.
using Creator = IUnknown* (*)(dispatch::Generation& generation, IUnknown* outer);

// Kept by the module, whose reference is the first one; as long as anybody else has one, the module stays loaded.
// Counting is safe from any thread, as threads share class objects.
class ClassObject final : public IClassFactory {
 public:
  ClassObject(const CLSID& clsid, dispatch::Generation& generation, Creator create)
      : clsid_(clsid), generation_(generation), create_(create) {}

  const CLSID& clsid() const { return clsid_; }

  HRESULT QueryInterface(const IID& iid, void** object) override;
  ULONG AddRef() override;
  ULONG Release() override;
  HRESULT CreateInstance(IUnknown* outer, const IID& iid, void** object) override;
  HRESULT LockServer(BOOL lock) override;

 private:
  const CLSID& clsid_;
  dispatch::Generation& generation_;
  Creator create_;
  std::atomic<ULONG> count_ = 1;
};

}  // namespace kestrine::objects
