// What the library registers of itself: its classes, its application and its type library.
#pragma once

#include "kestrine/component.h"

namespace kestrine::objects {

// Status codes are those of the system's registry, unchanged. Registering again leaves one set of keys.
HRESULT register_server();
HRESULT unregister_server();

}  // namespace kestrine::objects
