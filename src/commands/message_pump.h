// Delivering the thread's messages while a call waits.
#pragma once

namespace kestrine::commands {

// Waits a slice, then delivers what is due on the thread. A quit message ends the delivery and is thereby lost.
void deliver_due_messages();

}  // namespace kestrine::commands
