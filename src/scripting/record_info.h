// How records travel in variants: their size, their fields and their memory.
#pragma once

#include "scripting/type_names.h"

namespace kestrine::scripting {

// `row` is a record of types(). Records lie in memory as their rows say, packed as on the wire, and own nothing
// outside themselves. A text or an array that is longer than its field is refused with DISP_E_OVERFLOW.
HRESULT make_record_info(const TypeRow& row, IRecordInfo** info);

}  // namespace kestrine::scripting
