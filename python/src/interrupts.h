// Exceptions that must not wait: Ctrl-C and whatever else a Python signal handler raises while the library waits, and
// KeyboardInterrupt or SystemExit out of an event handler. They are kept until the library has returned to Python.
#pragma once

namespace kestrine::python {

// For the library's waiting calls, which hold no interpreter lock: runs signal handlers that are due. True when one has
// raised, or something was kept before: the call is to end.
bool asked_to_give_up();

// Keeps the exception that is set, unless one is kept already.
void keep_exception();
// Throws what was kept on this thread.
void raise_kept();

}  // namespace kestrine::python
