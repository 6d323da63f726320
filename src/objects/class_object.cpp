#include "objects/class_object.h"

#include "component_types/error_info.h"
#include "kestrine/pointer.h"

namespace kestrine::objects {

HRESULT ClassObject::QueryInterface(const IID& iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = iid == IID_IUnknown || iid == IID_IClassFactory ? this : nullptr;
  if (*object == nullptr) return E_NOINTERFACE;
  AddRef();
  return S_OK;
}

ULONG ClassObject::AddRef() {
  const ULONG count = ++count_;
  if (count == 2) process_.lock();
  return count;
}

ULONG ClassObject::Release() {
  const ULONG count = --count_;
  if (count == 1) process_.unlock();
  return count;
}

HRESULT ClassObject::CreateInstance(IUnknown* outer, const IID& iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  // The outer object must get the inner one's own IUnknown; any other interface would count on the outer one.
  if (outer != nullptr && iid != IID_IUnknown) return CLASS_E_NOAGGREGATION;
  return component_types::guarded(
      [&] { return Pointer<IUnknown>::adopt(create_(outer))->QueryInterface(iid, object); });
}

HRESULT ClassObject::LockServer(BOOL lock) {
  lock != 0 ? process_.lock_server() : process_.unlock_server();
  return S_OK;
}

}  // namespace kestrine::objects
