#include <utility>

#include "kestrine/component.h"

namespace {

// Plain thread-locals, still readable after the reaper has run: static objects may report later than that.
thread_local IErrorInfo* slot = nullptr;
thread_local bool slot_gone = false;

void let_go(IErrorInfo* info) {
  if (info != nullptr) info->Release();
}

struct Reaper {
  ~Reaper() {
    slot_gone = true;
    let_go(std::exchange(slot, nullptr));
  }
};

}  // namespace

HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info) {
  if (reserved != 0) return E_INVALIDARG;
  if (slot_gone) return S_OK;
  static thread_local Reaper reaper;
  if (info != nullptr) info->AddRef();
  // The slot holds the new one before the old one goes, whose last Release() may come back here.
  let_go(std::exchange(slot, info));
  return S_OK;
}

HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** info) {
  if (reserved != 0 || info == nullptr) return E_INVALIDARG;
  *info = std::exchange(slot, nullptr);
  return *info != nullptr ? S_OK : S_FALSE;
}
