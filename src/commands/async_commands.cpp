#include "commands/async_commands.h"

#include "commands/mirror.h"

namespace kestrine::commands {

HRESULT AsyncCommandObject::perform(int dispid, const Argument* arguments) {
  const MethodRow& row = async_methods()[static_cast<std::size_t>(dispid) - 1];
  if (const HRESULT result = start(row, arguments); result != S_OK) return result;
  // As soon as it is sent: nobody waits here for the server to take it.
  if (connection::Connection* const connection = generation_.connection()) {
    remember_setting(row, arguments, connection->measurement());
  }
  return S_OK;
}

bool AsyncCommandObject::is_call_waiting() const {
  const dispatch::SyncCommands* const sync = generation_.objects().sync();
  return sync != nullptr && sync->is_answer_pending();
}

HRESULT AsyncCommandObject::refuse_while_waiting(const MethodRow&) {
  return refuse(protocol::error::kPendingAnswer, throws());
}

}  // namespace kestrine::commands
