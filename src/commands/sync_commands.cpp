#include "commands/sync_commands.h"

#include <utility>

#include "commands/message_pump.h"
#include "commands/mirror.h"
#include "commands/outputs.h"
#include "kestrine/enums.h"
#include "kestrine/pointer.h"
#include "kestrine/wire.h"
#include "platform/notices.h"
#include "protocol/report.h"
#include "protocol/texts.h"

namespace kestrine::commands {
namespace {

using connection::Connection, connection::ReceiveBuffers;

bool needs_result(const MethodRow& row) {
  return row.family == Family::kStationaryPoint || row.family == Family::kStationaryProbe ||
         row.family == Family::kGoAndMeasure;
}

std::int32_t source_type(Source source) {
  switch (source) {
    case Source::kMeasurement:
      return VL_DT_SingleMeasResult;
    case Source::kTiltra:
      return VL_DT_TiltraResult;
    case Source::kAnswer:
    case Source::kNone:
      break;
  }
  return VL_DT_Command;
}

bool is_between(std::int32_t value, std::int32_t low, std::int32_t high) {
  return value >= low && value <= high;
}

}  // namespace

bool is_immediate_status_change(std::int32_t change) {
  return is_between(change, VL_SSC_MeasStatus_NotReady, VL_SSC_MeasStatus_Ready) ||
         is_between(change, VL_SSC_MeasStatus_6DStatusInvalid, VL_SSC_ExternalTriggerStopEvent) ||
         is_between(change, VL_SSC_ProbeButton1Down, VL_SSC_ProbeButton1DoubleClick) ||
         is_between(change, VL_SSC_ProbeButton2Down, VL_SSC_ProbeButton2DoubleClick) ||
         is_between(change, VL_SSC_ProbeButton3Down, VL_SSC_ProbeButton3DoubleClick) ||
         is_between(change, VL_SSC_ProbeButton4Down, VL_SSC_ProbeButton4DoubleClick) ||
         is_between(change, VL_SSC_TPConnectionClosing, VL_SSC_ServerClosing);
}

HRESULT SyncCommandObject::perform(int dispid, Argument* arguments) {
  const MethodRow& row = sync_methods()[static_cast<std::size_t>(dispid) - 1];
  if (!has_all_outputs(row, arguments)) return E_POINTER;
  if (row.family == Family::kProperty) return use_increased_timeouts(arguments[0].boolean);

  // A handler that runs during the wait may drop the last reference to either object.
  const Pointer<IUnknown> keep_this(unknown());
  Connection* const connection = generation_.connection();
  const Pointer<IUnknown> keep_connection(connection == nullptr ? nullptr : connection->unknown());
  const HRESULT result = start(row, arguments);
  if (result != S_OK || row.family == Family::kSendOnly) return result;
  return wait_and_finish(row, arguments, *generation_.connection());
}

// The incremental moves give up in silence unless timeouts are increased. Of all failures of this interface only the
// refusal of an operation that does not wait is ever thrown.
HRESULT SyncCommandObject::refuse_while_waiting(const MethodRow& row) {
  if (row.family == Family::kMove && !increased_timeouts_) return S_FALSE;
  return refuse(protocol::error::kPendingAnswer, row.family == Family::kSendOnly && has_throwing_connection());
}

void SyncCommandObject::prepare_to_send(const MethodRow& row) {
  if (row.family == Family::kSendOnly) return;
  last_result_status_ = VL_RS_Unknown;
  timed_out_ = false;
}

// --- Waiting

void SyncCommandObject::begin_wait(std::int32_t command) {
  pending_command_ = command;
}

void SyncCommandObject::end_wait(std::int32_t command) {
  if (command < 0) return;
  if (connection::Channel* const channel = generation_.channel()) channel->stop_timer(command);
  pending_command_ = -1;
}

void SyncCommandObject::release_wait() {
  pending_command_ = -1;
  if (connection::Channel* const channel = generation_.channel()) channel->request_flush();
}

void SyncCommandObject::cancel_wait() {
  end_wait(pending_command_);
}

void SyncCommandObject::time_out() {
  release_wait();
  timed_out_ = true;
}

void SyncCommandObject::wait_for_answer(std::int32_t command, std::int32_t timeout, bool for_result) {
  if (connection::Channel* const channel = generation_.channel()) channel->start_timer(command, timeout);
  begin_wait(command);
  awaits_result_ = for_result;
  while (is_awaiting_answer(command)) {
    deliver_due_messages();
    if (is_awaiting_answer(command) && platform::host_gives_up()) cancel_wait();
  }
}

HRESULT SyncCommandObject::use_increased_timeouts(VARIANT_BOOL increased) {
  increased_timeouts_ = increased != 0;
  return timeouts_.read_again(increased_timeouts_) ? S_OK : S_FALSE;
}

std::int32_t SyncCommandObject::timeout_of(const MethodRow& row, const Connection& connection) const {
  return timeouts_[row.wait] + (row.adds_measure_time ? connection.measurement().stationary_time() : 0);
}

// --- Status changes that are held back

bool SyncCommandObject::must_defer(std::int32_t status_change) const {
  return !is_immediate_status_change(status_change) && (is_answer_pending() || !deferred_.empty());
}

// A handler that starts a new call ends the flush; what is left waits for that call's own.
void SyncCommandObject::fire_deferred_events() {
  const Pointer<IUnknown> keep(unknown());
  while (!deferred_.empty() && !is_answer_pending()) {
    const auto change = static_cast<VL_SystemStatusChange>(deferred_.front());
    deferred_.pop_front();
    event_source().Fire_StatusChangeEvent(change);
  }
}

// --- The end of a call

HRESULT SyncCommandObject::wait_and_finish(const MethodRow& row, Argument* arguments, Connection& connection) {
  if (needs_result(row) && row.family != Family::kGoAndMeasure) connection.measurement().on_start_sent();
  const std::uint32_t results_before = connection.measurement().results();
  wait_for_answer(row.command, timeout_of(row, connection), needs_result(row));
  // Whatever else ended the wait, an old result is never handed out as a new one.
  if (needs_result(row) && last_result_status_ == VL_RS_AllOK && connection.measurement().results() == results_before) {
    last_result_status_ = VL_RS_Unknown;
  }
  if (const protocol::Error* failure = read_outputs(row, arguments, connection)) return refuse(*failure, false);
  const HRESULT result = finish_call(row.command);
  if (SUCCEEDED(result)) remember_setting(row, arguments, connection.measurement());
  return result;
}

const protocol::Error* SyncCommandObject::read_outputs(const MethodRow& row, Argument* arguments,
                                                       Connection& connection) {
  const ReceiveBuffers::Buffer source = connection.buffers().for_type(source_type(row.source));
  const bool only_good = row.family == Family::kStationaryPoint || row.family == Family::kGoAndMeasure;
  if (!only_good || last_result_status_ == VL_RS_AllOK) {
    if (only_good && !connection.accepts_any_statistic_mode() && wire::load_i32(source.bytes + 4) != row.result_type) {
      return &protocol::error::kStatisticMode;
    }
    write_outputs(row, source.bytes, arguments);
  }
  if (row.family != Family::kStillImage) return nullptr;
  auto* const image = static_cast<VARIANT*>(arguments[row.params.size() - 1].out);
  return write_image(source.bytes, source.capacity, *image) ? nullptr : &protocol::error::kByteArray;
}

std::u16string SyncCommandObject::explain_status(std::int32_t command) {
  if (!timed_out_) return protocol::answer_report(command, last_result_status_);
  if (increased_timeouts_ && last_result_status_ == VL_RS_Unknown) {
    last_result_status_ = protocol::error::kTimedOut.number;
  }
  return protocol::timeout_report(command);
}

void SyncCommandObject::report_status(std::int32_t command) {
  if (last_result_status_ == VL_RS_AllOK) return;
  clear_blocked_speeds(command);
  const std::u16string text = explain_status(command);
  generation_.errors().report_sync_status(last_result_status_, text);
}

HRESULT SyncCommandObject::finish_call(std::int32_t command) {
  HRESULT result = S_OK;
  if (last_result_status_ != VL_RS_AllOK) {
    clear_blocked_speeds(command);
    const std::u16string text = explain_status(command);
    const std::int32_t status = last_result_status_;
    dispatch::ErrorReporting& errors = generation_.errors();
    if (protocol::StatusToWarningRow(status) != 0) {
      errors.report_sync_status(status, text);
      result = S_FALSE;
    } else {
      result = errors.raise(generation_.connection(), text, generation_.identity().sync, E_FAIL, false, status);
    }
  }
  release_wait();
  return result;
}

// The tracker stopped an axis by itself: its stored speed starts from rest again.
void SyncCommandObject::clear_blocked_speeds(std::int32_t command) {
  if (command != VL_C_MoveHV && command != VL_C_Unknown) return;
  if (last_result_status_ == protocol::kVerticalLimitStatus) speeds_.vertical = 0;
  if (last_result_status_ == protocol::kHorizontalLimitStatus) speeds_.horizontal = 0;
}

}  // namespace kestrine::commands
