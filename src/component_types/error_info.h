// The thread's description of the latest failure.
#pragma once

#include <cstdint>
#include <new>
#include <string>
#include <string_view>

#include "kestrine/component.h"
#include "kestrine/export.h"
#include "kestrine/pointer.h"

namespace kestrine::component_types {

// Sets the calling thread's error information and returns it. It answers IErrorNumber
// (kestrine/error.h) as well; the number is 0 where there is none. Throws std::bad_alloc when it cannot be made.
KESTRINE_HOST_API Pointer<IErrorInfo> set_error_info(std::u16string_view text, std::u16string_view source,
                                                     const IID& iid, std::int32_t number);

// For a failure of a service of the system: leaves the reason in the thread's error information and in the host's log.
// Returns the status.
KESTRINE_HOST_API HRESULT fail(HRESULT status, const std::string& reason);

// E_OUTOFMEMORY, and error information that says so, for which no memory is needed.
KESTRINE_HOST_API HRESULT out_of_memory();

// For the operations of interfaces and for exported functions, which hand out status codes: memory that ran out becomes
// one. What handlers throw and what the policy for failures throws goes on to the caller.
template <class Operation>
HRESULT guarded(Operation operation) {
  try {
    return operation();
  } catch (const std::bad_alloc&) {
    return out_of_memory();
  }
}

}  // namespace kestrine::component_types
