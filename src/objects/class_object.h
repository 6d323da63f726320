// The class objects, which create the objects of their classes.
#pragma once

#include <atomic>
#include <functional>
#include <utility>

#include "dispatch/process_state.h"
#include "kestrine/component.h"

namespace kestrine::objects {

// Makes an object of a class, with a count of one; `outer` is null unless it becomes part of another object.
using Creator = std::function<IUnknown*(IUnknown* outer)>;

// Kept by the module, whose reference is the first one; as long as anybody else has one, the module stays loaded.
// Counting is safe from any thread, as threads share class objects.
class ClassObject final : public IClassFactory {
 public:
  ClassObject(const CLSID& clsid, dispatch::ProcessState& process, Creator create)
      : clsid_(clsid), process_(process), create_(std::move(create)) {}

  const CLSID& clsid() const { return clsid_; }

  HRESULT QueryInterface(const IID& iid, void** object) override;
  ULONG AddRef() override;
  ULONG Release() override;
  HRESULT CreateInstance(IUnknown* outer, const IID& iid, void** object) override;
  HRESULT LockServer(BOOL lock) override;

 private:
  const CLSID& clsid_;
  dispatch::ProcessState& process_;
  Creator create_;
  std::atomic<ULONG> count_ = 1;
};

}  // namespace kestrine::objects
