// The type library: all types, by index, identifier and name.
#pragma once

#include "kestrine/type_info.h"

namespace kestrine::scripting {

HRESULT get_type_library(ITypeLib** library);

}  // namespace kestrine::scripting
