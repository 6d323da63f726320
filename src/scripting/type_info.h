// Type information over a row of the type tables.
#pragma once

#include "scripting/type_names.h"

namespace kestrine::scripting {

// `row` is one of types(). A dual interface is described as script clients read it: as a TKIND_DISPATCH type, whose
// property gets return their value; its vtable form is reached through GetRefTypeOfImplType(-1).
HRESULT get_type_info(const TypeRow& row, ITypeInfo** info);

}  // namespace kestrine::scripting
