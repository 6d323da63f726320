#include "async/senders.h"

#include "commands/build_request.h"
#include "commands/mode_check.h"
#include "platform/clock.h"
#include "protocol/texts.h"
#include "transport/command_sender.h"
#include "transport/generation_notice.h"

namespace kestrine::async {

using commands::Argument, commands::Family, commands::MethodRow;

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
  const MethodRow& row = commands::async_methods()[static_cast<std::size_t>(dispid) - 1];
  if (const protocol::Error* misfit = commands::find_mode_misfit(row, slots.connection)) return refuse(*misfit);
  if (slots.connection != nullptr) slots.ReleaseUnusedCommandObjects(*slots.connection, false);
  if (slots.current_sync != nullptr && slots.current_sync->IsAnswerPending()) {
    return refuse(protocol::error::kPendingAnswer);
  }
  if (row.family == Family::kMove) speeds_.step(row);

  const protocol::Request request = commands::build_request(row, arguments, speeds_);
  if (slots.transport == nullptr || !slots.transport->send(request.bytes.data(), request.size)) {
    return report_send_failure(row.command);
  }
  after_send(row, arguments);
  return S_OK;
}

// Remembered as soon as it is sent: nobody waits here for the server to take it.
void CLTCommandAsyncBase::after_send(const MethodRow& row, const Argument* arguments) {
  if (row.family == Family::kMove) speeds_.sent(row);
  if (slots.connection == nullptr) return;
  if (row.family == Family::kSetMeasurementMode) slots.connection->measurement_mode = arguments[0].i32;
  if (row.family == Family::kSetStationaryTime) slots.connection->stationary_measure_time = arguments[0].i32;
}

HRESULT CLTCommandAsyncBase::refuse(const protocol::Error& failure) {
  return slots.errors->RaiseErrorFromResource(slots.connection, failure.row, slots.identity.async, E_FAIL, throws(),
                                              failure.number);
}

HRESULT CLTCommandAsyncBase::report_send_failure(std::int32_t command) {
  return slots.errors->RaiseError(slots.connection, protocol::SendFailureText(command), slots.identity.async, E_FAIL,
                                  throws(), protocol::error::kSendFailed.number);
}

}  // namespace kestrine::async
