// The calling thread's message loop, for Python.
#pragma once

namespace kestrine::python {

// All return early for exceptions that must not wait, such as KeyboardInterrupt, and raise them.
int pump_waiting();
void pump();                    // until quit()
bool pump_for(double seconds);  // false when quit() ended it
void quit();

}  // namespace kestrine::python
