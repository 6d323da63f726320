#include "commands/async_commands.h"

namespace kestrine::commands {

HRESULT AsyncCommandObject::perform(int dispid, const Argument* arguments) {
  const MemberRow& row = protocol::async_methods()[static_cast<std::size_t>(dispid) - 1];
  if (const HRESULT result = check(row); FAILED(result)) return result;
  const protocol::Request request = build(row, arguments);
  if (const HRESULT result = send(row, request); FAILED(result)) return result;
  remember(row, request);  // as soon as it is sent: nobody waits here for the server to take it
  return S_OK;
}

bool AsyncCommandObject::is_call_waiting() const {
  const dispatch::SyncCommands* const sync = generation_.objects().sync();
  return sync != nullptr && sync->is_answer_pending();
}

HRESULT AsyncCommandObject::refuse_while_waiting(const MemberRow&) {
  return refuse(protocol::error::kPendingAnswer, throws());
}

}  // namespace kestrine::commands
