#include "async/command_object.h"

#include "platform/clock.h"
#include "transport/connection.h"
#include "transport/generation_notice.h"

namespace kestrine::async {

void CLTCommandAsyncBase::enter() {
  if (!slots.creating_internally) slots.current_async = this;
  if (slots.process.objects_not_yet_fetched) {
    // The application makes its own command objects; the connection's are not wanted.
    if (slots.current_async != nullptr && slots.connection != nullptr) slots.connection->async_present = true;
    slots.release_internal_async();
  }
  if (!slots.ClaimInterfaceGeneration()) transport::show_mixed_generations();
  creation_tick_ = platform::tick_count();
}

void CLTCommandAsyncBase::leave() {
  if (slots.current_async == this) slots.current_async = nullptr;
  if (!retired_) transport::check_lifetime(slots, creation_tick_);
}

}  // namespace kestrine::async
