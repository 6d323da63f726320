// The thread's description of the latest failure.
#pragma once

#include <cstdint>
#include <string_view>

#include "kestrine/component.h"
#include "kestrine/export.h"
#include "kestrine/pointer.h"

namespace kestrine::platform {

// Sets the calling thread's error information and returns it. It answers IErrorNumber
// (kestrine/error.h) as well; the number is 0 where there is none. Throws std::bad_alloc when it cannot be made.
KESTRINE_HOST_API Pointer<IErrorInfo> set_error_info(std::u16string_view text, std::u16string_view source,
                                                     const IID& iid, std::int32_t number);

}  // namespace kestrine::platform
