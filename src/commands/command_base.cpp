#include "commands/command_base.h"

#include <algorithm>
#include <chrono>

#include "kestrine/enums.h"
#include "protocol/texts.h"

namespace kestrine::commands {

using protocol::Mirror;

namespace {

// A server that has not answered within twice the longest wait for the command will not answer any more.
std::chrono::milliseconds time_to_forget(const MemberRow& row, const connection::MeasurementState& measurement) {
  const std::int32_t wait = row.wait == nullptr ? 0 : std::max(row.wait->ordinary, row.wait->increased);
  return 2 * std::chrono::milliseconds(wait + std::int64_t{row.adds_measure_time ? measurement.stationary_time() : 0});
}

// A server that does not read holds up the sending no longer than an answer may take.
std::chrono::milliseconds time_to_send(const MemberRow& row) {
  const protocol::WaitRow& wait = row.wait != nullptr ? *row.wait : protocol::wait_classes().front();
  return std::chrono::milliseconds(wait.ordinary);
}

}  // namespace

PendingRequests::Result result_of(const MemberRow& row) {
  if (row.waits_for_result) return PendingRequests::Result::kMeasurement;
  return row.command->code == VL_C_StartTiltraMeasurement ? PendingRequests::Result::kTiltra
                                                          : PendingRequests::Result::kNone;
}

template <class Commands>
HRESULT CommandBase<Commands>::check(const MemberRow& row) {
  if (connection::Connection* const connection = generation_.connection()) {
    const protocol::Error* const misfit = connection->measurement().check_mode(row.mode_check);
    if (misfit != nullptr) return refuse(*misfit, throws());
    generation_.objects().release_unused(*connection, false);
  }
  return is_call_waiting() ? refuse_while_waiting(row) : S_OK;
}

template <class Commands>
protocol::Request CommandBase<Commands>::build(const MemberRow& row, const Argument* arguments) {
  speeds_.step(row.speed);
  return build_request(row, arguments, speeds_);
}

template <class Commands>
HRESULT CommandBase<Commands>::send(const MemberRow& row, const protocol::Request& request,
                                    PendingRequests::Ticket* ticket) {
  connection::Connection* const connection = generation_.connection();
  // The items of a series go to nobody, except that a call may wait for the first one.
  const bool remembers =
      connection != nullptr && connection->rules().waits_for_own_answer && (ticket != nullptr || !row.command->series);
  // Before the sending: what has been sent must not fail for want of memory any more.
  const PendingRequests::Ticket added =
      remembers ? connection->requests().add(row.command->code, result_of(row), ticket != nullptr,
                                             time_to_forget(row, connection->measurement()))
                : 0;
  const connection::Channel* const channel = generation_.channel();
  if (channel == nullptr || !channel->send(request.bytes.data(), request.size, time_to_send(row))) {
    if (remembers) connection->requests().drop(added);
    return generation_.errors().raise(generation_.connection(), protocol::send_failure_text(row.command->code),
                                      interface_id(), E_FAIL, throws(), protocol::error::kSendFailed.number);
  }
  speeds_.sent(row.speed);
  if (ticket != nullptr) *ticket = added;
  return S_OK;
}

template <class Commands>
void CommandBase<Commands>::remember(const MemberRow& row, const protocol::Request& request) {
  connection::Connection* const connection = generation_.connection();
  if (connection == nullptr) return;
  if (row.mirror == Mirror::kMeasurementMode) connection->measurement().set_mode(request.first_integer());
  if (row.mirror == Mirror::kStationaryTime) connection->measurement().set_stationary_time(request.first_integer());
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
