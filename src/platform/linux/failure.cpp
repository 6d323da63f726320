#include "platform/linux/failure.h"

#include "kestrine/object.h"
#include "kestrine/pointer.h"
#include "kestrine/text.h"
#include "platform/notices.h"

namespace kestrine::platform {
namespace {

class Reason final : public Object<IErrorInfo> {
 public:
  explicit Reason(const std::string& text) : text_(to_utf16(text)) {}

  HRESULT GetGUID(GUID* iid) override { return give(iid, GUID_NULL); }
  HRESULT GetSource(BSTR* source) override { return give(source, SysAllocString(u"Kestrine")); }
  HRESULT GetDescription(BSTR* description) override { return give(description, SysAllocString(text_.c_str())); }
  HRESULT GetHelpFile(BSTR* file) override { return give(file, BSTR{}); }
  HRESULT GetHelpContext(DWORD* context) override { return give(context, DWORD{0}); }

 private:
  template <class Value>
  static HRESULT give(Value* out, Value value) {
    *out = value;
    return S_OK;
  }

  std::u16string text_;
};

}  // namespace

HRESULT fail(HRESULT status, const std::string& text) {
  log_line(text);
  SetErrorInfo(0, Pointer<IErrorInfo>::adopt(new Reason(text)).get());
  return status;
}

}  // namespace kestrine::platform
