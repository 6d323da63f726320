#include "commands/message_pump.h"

#include <cstdint>

#include "kestrine/host.h"
#include "platform/loop.h"

namespace kestrine::commands {
namespace {

constexpr std::uint32_t kDroppedMessage = 0x036A;  // an idle notice of application frameworks

// A stream that never pauses must not keep a call from returning whose wait is over.
constexpr int kMostMessagesInARow = 1000;

}  // namespace

void deliver_due_messages() {
  platform::wait_slice();
  // With early wake the next slice begins with a look at the sockets; a second one here would be a system call for
  // nothing in every round trip.
  const auto is_due = host::early_wake() ? platform::is_message_queued : platform::peek_message;
  for (int delivered = 0; delivered < kMostMessagesInARow && is_due(); ++delivered) {
    platform::Message message;
    if (!platform::get_message(message)) return;
    if (message.id != kDroppedMessage) platform::dispatch_message(message);
  }
}

}  // namespace kestrine::commands
