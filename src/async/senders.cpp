#include "async/senders.h"

#include "platform/clock.h"
#include "protocol/measurement_mode.h"
#include "protocol/texts.h"
#include "transport/command_sender.h"
#include "transport/generation_notice.h"

namespace kestrine::async {

using commands::Argument;
using protocol::MemberRow, protocol::Mirror;

void CLTCommandAsyncBase::enter() {
  if (!slots.creating_internally) slots.current_async = this;
  if (slots.process.objects_not_yet_fetched) {
    // Who makes command objects of his own does not want the connection's. When it makes those, there are none yet.
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

HRESULT CLTCommandAsyncBase::perform(int dispid, const Argument* arguments) {
  const MemberRow& row = protocol::async_methods()[static_cast<std::size_t>(dispid) - 1];
  if (slots.connection != nullptr) {
    const auto* const misfit =
        protocol::find_mode_misfit(row, slots.connection->measurement_mode, slots.connection->legacy_stationary_mode);
    if (misfit != nullptr) return refuse(*misfit);
    slots.ReleaseUnusedCommandObjects(*slots.connection, false);
  }
  if (slots.current_sync != nullptr && slots.current_sync->IsAnswerPending()) {
    return refuse(protocol::error::kPendingAnswer);
  }
  speeds_.step(row.speed);

  const protocol::Request request = commands::build_request(row, arguments, speeds_);
  if (slots.transport == nullptr || !slots.transport->send(request.bytes.data(), request.size)) {
    return report_send_failure(row.command->code);
  }
  after_send(row, request);
  return S_OK;
}

// Remembered as soon as it is sent: nobody waits here for the server to take it.
void CLTCommandAsyncBase::after_send(const MemberRow& row, const protocol::Request& request) {
  speeds_.sent(row.speed);
  if (slots.connection == nullptr) return;
  if (row.mirror == Mirror::kMeasurementMode) slots.connection->measurement_mode = request.first_integer();
  if (row.mirror == Mirror::kStationaryTime) slots.connection->stationary_measure_time = request.first_integer();
}

HRESULT CLTCommandAsyncBase::refuse(const protocol::Error& failure) {
  return slots.errors->RaiseErrorFromResource(slots.connection, failure.row, slots.identity.async, E_FAIL, throws(),
                                              failure.number);
}

HRESULT CLTCommandAsyncBase::report_send_failure(std::int32_t command) {
  return slots.errors->RaiseError(slots.connection, protocol::send_failure_text(command), slots.identity.async, E_FAIL,
                                  throws(), protocol::error::kSendFailed.number);
}

}  // namespace kestrine::async
