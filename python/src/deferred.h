// What has to wait: references for the thread of their object, exceptions and notices until the library has returned to
// Python.
#pragma once

#include <thread>

#include "kestrine/component.h"

namespace kestrine::python {

// Objects belong to the thread that made them; Python drops references on whichever thread collects its garbage.
// Releases the reference: on its own thread now, on another one when `home` next calls release_deferred().
void release_on(std::thread::id home, IUnknown* object);
void release_deferred();

// For the library's waiting calls, which hold no interpreter lock: runs signal handlers that are due. True when one has
// raised, such as KeyboardInterrupt, or an exception was kept before: the call is to end.
bool asked_to_give_up();
// Keeps the exception that is set, unless one is kept already: what a signal handler raises while the library waits,
// and KeyboardInterrupt or SystemExit out of an event handler.
void keep_exception();

// A message box has nobody to click it away here: it becomes a NoticeWarning.
void catch_notices();
void restore_notices();

// Once the library has returned: throws the exception that this thread keeps, and shows notices.
void raise_deferred();

}  // namespace kestrine::python
