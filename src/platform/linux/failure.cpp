#include "platform/linux/failure.h"

#include "kestrine/text.h"
#include "platform/error_info.h"
#include "platform/notices.h"

namespace kestrine::platform {

HRESULT fail(HRESULT status, const std::string& text) {
  log_line(text);
  set_error_info(to_utf16(text), u"Kestrine", GUID_NULL, 0);
  return status;
}

}  // namespace kestrine::platform
