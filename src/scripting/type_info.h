// Type information over a row of the type tables.
#pragma once

#include <atomic>

#include "scripting/type_names.h"

namespace kestrine::scripting {

// `row` is one of types(). A dual interface is described as script clients read it: as a TKIND_DISPATCH type, whose
// property gets return their value; its vtable form is reached through GetRefTypeOfImplType(-1).
HRESULT get_type_info(const TypeRow& row, ITypeInfo** info);

// References to type information, to record information and to the type library, all together. What they refer to
// describes rows that never change, so it is made once, is shared by threads and is never destroyed. They count because
// whoever holds one can call into the library.
inline std::atomic<ULONG> type_references = 0;

}  // namespace kestrine::scripting
