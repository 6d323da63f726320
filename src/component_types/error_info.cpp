#include "component_types/error_info.h"

#include <utility>

#include "kestrine/com_error.h"
#include "kestrine/error.h"
#include "kestrine/object.h"
#include "kestrine/text.h"
#include "platform/notices.h"

namespace {

// Plain thread-locals, still readable after SlotCleanup has run: static objects may report later than that.
thread_local IErrorInfo* slot = nullptr;
thread_local bool is_slot_closed = false;

void release(IErrorInfo* info) {
  if (info != nullptr) info->Release();
}

struct SlotCleanup {
  ~SlotCleanup() {
    is_slot_closed = true;
    release(std::exchange(slot, nullptr));
  }
};

}  // namespace

HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info) {
  if (reserved != 0) return E_INVALIDARG;
  if (is_slot_closed) return S_OK;
  static thread_local SlotCleanup cleanup;
  if (info != nullptr) info->AddRef();
  // The slot holds the new one before the old one is released, whose last Release() may call back here.
  release(std::exchange(slot, info));
  return S_OK;
}

HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** info) {
  if (reserved != 0 || info == nullptr) return E_INVALIDARG;
  *info = std::exchange(slot, nullptr);
  return *info != nullptr ? S_OK : S_FALSE;
}

namespace kestrine::component_types {
namespace {

HRESULT copy_out(std::u16string_view text, BSTR* out) {
  if (out == nullptr) return E_POINTER;
  *out = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  return *out == nullptr ? E_OUTOFMEMORY : S_OK;
}

class ErrorInfo : public Object<IErrorInfo, IErrorNumber> {
 public:
  ErrorInfo(std::u16string_view text, std::u16string_view source, const IID& iid, std::int32_t number)
      : text_(text), source_(source), iid_(iid), number_(number) {}

  HRESULT GetGUID(GUID* iid) override {
    if (iid == nullptr) return E_POINTER;
    *iid = iid_;
    return S_OK;
  }
  HRESULT GetSource(BSTR* source) override { return copy_out(source_, source); }
  HRESULT GetDescription(BSTR* description) override { return copy_out(text_, description); }
  HRESULT GetHelpFile(BSTR* file) override {
    if (file == nullptr) return E_POINTER;
    *file = nullptr;
    return S_OK;
  }
  HRESULT GetHelpContext(DWORD* context) override {
    if (context == nullptr) return E_POINTER;
    *context = 0;
    return S_OK;
  }
  HRESULT GetNumber(std::int32_t* number) override {
    if (number == nullptr) return E_POINTER;
    *number = number_;
    return S_OK;
  }

 private:
  std::u16string text_;
  std::u16string source_;
  IID iid_;
  std::int32_t number_;
};

// Made in advance and never destroyed, so that threads can share it without counting.
class KeptErrorInfo final : public ErrorInfo {
 public:
  using ErrorInfo::ErrorInfo;

  ULONG AddRef() override { return 1; }
  ULONG Release() override { return 1; }
};

IErrorInfo* const no_memory = new KeptErrorInfo(u"There is not enough memory", u"Kestrine", GUID_NULL, 0);

}  // namespace

Pointer<IErrorInfo> set_error_info(std::u16string_view text, std::u16string_view source, const IID& iid,
                                   std::int32_t number) {
  auto info = Pointer<IErrorInfo>::adopt(new ErrorInfo(text, source, iid, number));
  SetErrorInfo(0, info.get());
  return info;
}

HRESULT fail(HRESULT status, const std::string& reason) {
  platform::log_line(reason);
  set_error_info(to_utf16(reason), u"Kestrine", GUID_NULL, 0);
  return status;
}

HRESULT out_of_memory() {
  SetErrorInfo(0, no_memory);
  return E_OUTOFMEMORY;
}

}  // namespace kestrine::component_types

// Here and not in the header, so that both libraries and the application share one type to throw and to catch.
const char* _com_error::what() const noexcept {
  return "the library reported a failure";
}
