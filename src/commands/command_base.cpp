#include "commands/command_base.h"

#include "commands/build_request.h"
#include "commands/mode_check.h"
#include "protocol/texts.h"

namespace kestrine::commands {

template <class Commands>
HRESULT CommandBase<Commands>::start(const MethodRow& row, const Argument* arguments) {
  connection::Connection* const connection = generation_.connection();
  if (connection != nullptr) {
    if (const protocol::Error* misfit = find_mode_misfit(row, connection->measurement())) {
      return refuse(*misfit, throws());
    }
    generation_.objects().release_unused(*connection, false);
  }
  if (is_call_waiting()) return refuse_while_waiting(row);
  if (row.family == Family::kMove) speeds_.step(row);

  const protocol::Request request = build_request(row, arguments, speeds_);
  prepare_to_send(row);
  const connection::Channel* const channel = generation_.channel();
  if (channel == nullptr || !channel->send(request.bytes.data(), request.size)) {
    return generation_.errors().raise(generation_.connection(), protocol::SendFailureText(row.command), interface_id(),
                                      E_FAIL, throws(), protocol::error::kSendFailed.number);
  }
  if (row.family == Family::kMove) speeds_.sent(row);
  return S_OK;
}

template <class Commands>
HRESULT CommandBase<Commands>::refuse(const protocol::Error& failure, bool throws) {
  return generation_.errors().raise(generation_.connection(), failure, interface_id(), E_FAIL, throws);
}

template <class Commands>
bool CommandBase<Commands>::has_throwing_connection() const {
  return generation_.connection() != nullptr && generation_.connection()->throws();
}

template <class Commands>
const IID& CommandBase<Commands>::interface_id() const {
  const dispatch::Identity& identity = generation_.identity();
  return this->command_set == dispatch::CommandSet::kSync ? identity.sync : identity.async;
}

template class CommandBase<dispatch::SyncCommands>;
template class CommandBase<dispatch::AsyncCommands>;

}  // namespace kestrine::commands
