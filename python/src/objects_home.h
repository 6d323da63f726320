// Objects belong to the thread that made them; Python drops references on whichever thread collects its garbage.
#pragma once

#include <thread>

#include "kestrine/component.h"

namespace kestrine::python {

// Releases the reference, now on its own thread, else when that thread next calls release_left_behind().
void release_at_home(IUnknown* object, std::thread::id home);
void release_left_behind();

}  // namespace kestrine::python
