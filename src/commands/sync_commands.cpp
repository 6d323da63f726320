#include "commands/sync_commands.h"

#include "kestrine/enums.h"
#include "kestrine/host.h"
#include "kestrine/pointer.h"
#include "kestrine/wire.h"
#include "platform/loop.h"
#include "platform/notices.h"
#include "protocol/texts.h"

namespace kestrine::commands {
namespace {

using connection::Connection, connection::ReceiveBuffers;
using protocol::Source;

std::int32_t packet_type(Source source) {
  switch (source) {
    case Source::kMeasurement:
      return VL_DT_SingleMeasResult;
    case Source::kTiltra:
      return VL_DT_TiltraResult;
    case Source::kAnswer:
      break;
  }
  return VL_DT_Command;
}

constexpr std::uint32_t kDroppedMessage = 0x036A;  // an idle notice of application frameworks

// A stream that never pauses must not keep a call from returning whose wait is over.
constexpr int kMostMessagesInARow = 1000;

// Waits a slice, then delivers what is due on the thread. A quit message ends the delivery and is lost by that: kept.
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
  const MemberRow& row = protocol::sync_methods()[static_cast<std::size_t>(dispid) - 1];
  if (!has_all_outputs(row, arguments)) return E_POINTER;
  if (row.kind == protocol::MemberKind::kPut) return use_increased_timeouts(arguments[0].i32 != 0);

  // A handler that runs during the wait may drop the last reference to either object.
  const Pointer<IUnknown> keep_this(unknown());
  Connection* const connection = generation_.connection();
  const Pointer<IUnknown> keep_connection(connection == nullptr ? nullptr : connection->unknown());
  if (const HRESULT result = check(row); result != S_OK) return result;
  const protocol::Request request = build(row, arguments);
  if (!row.sends_only) {
    call_status_ = VL_RS_Unknown;
    timed_out_ = false;
  }
  if (const HRESULT result = send(row, request); FAILED(result) || row.sends_only) return result;

  wait_for_answer(row, *connection);  // there is one: without it nothing is sent
  if (const protocol::Error* failure = read_outputs(row, arguments, *connection)) return refuse(*failure, false);
  const HRESULT result = finish_call(row.command->code);
  if (SUCCEEDED(result)) remember(row, request);
  return result;
}

// The incremental moves are dropped without a failure unless timeouts are increased. Of all failures of this interface
// only the refusal of an operation that does not wait is ever thrown. Both are kept.
HRESULT SyncCommandObject::refuse_while_waiting(const MemberRow& row) {
  if (row.speed != protocol::Speed::kNone && !increased_timeouts_) return S_FALSE;
  return refuse(protocol::error::kPendingAnswer, row.sends_only && has_throwing_connection());
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

void SyncCommandObject::wait_for_answer(const MemberRow& row, Connection& connection) {
  connection::MeasurementState& measurement = connection.measurement();
  const std::int32_t command = row.command->code;
  if (row.waits_for_result && command == VL_C_StartMeasurement) measurement.on_start_sent();
  const std::uint32_t results_before = measurement.results();
  const std::int32_t timeout = timeouts_[*row.wait] + (row.adds_measure_time ? measurement.stationary_time() : 0);

  if (connection::Channel* const channel = generation_.channel()) channel->start_timer(command, timeout);
  begin_wait(command);
  awaits_result_ = row.waits_for_result;
  while (is_awaiting_answer(command)) {
    deliver_due_messages();
    if (is_awaiting_answer(command) && platform::host_gives_up()) cancel_wait();
  }
  // Whatever else ended the wait, an old result is never handed out as a new one.
  if (row.waits_for_result && call_status_ == VL_RS_AllOK && measurement.results() == results_before) {
    call_status_ = VL_RS_Unknown;
  }
}

HRESULT SyncCommandObject::use_increased_timeouts(bool increased) {
  increased_timeouts_ = increased;
  return timeouts_.read_again(increased_timeouts_) ? S_OK : S_FALSE;
}

// --- Status changes that are held back

bool SyncCommandObject::must_defer(std::int32_t status_change) const {
  return !is_immediate_status_change(status_change) && (is_answer_pending() || !deferred_.empty());
}

// A handler that starts a new call ends the flush; what is left waits for that call's own.
void SyncCommandObject::fire_deferred_events() {
  const Pointer<IUnknown> keep(unknown());
  while (!deferred_.empty() && !is_answer_pending()) {
    const std::int32_t change = deferred_.front();
    deferred_.pop_front();
    dispatch::fire_status_change(*this, change);
  }
}

// --- The end of a call

const protocol::Error* SyncCommandObject::read_outputs(const MemberRow& row, Argument* arguments,
                                                       Connection& connection) {
  if (row.outputs_when_good && call_status_ != VL_RS_AllOK) return nullptr;
  const ReceiveBuffers::Buffer source = connection.buffers().for_type(packet_type(row.source));
  const bool any_type = row.result_type == -1 || connection.accepts_any_statistic_mode();
  if (!any_type && wire::load_i32(source.bytes + connection::kTypeOffset) != row.result_type) {
    return &protocol::error::kStatisticMode;
  }
  return write_outputs(row, source.content(), arguments) ? nullptr : &protocol::error::kByteArray;
}

// A call that ran out keeps the status 36, and only with increased timeouts gets the number of its failure: kept.
std::u16string SyncCommandObject::explain_status(std::int32_t command) {
  if (!timed_out_) return protocol::bad_answer_text(command, call_status_);
  if (increased_timeouts_ && call_status_ == VL_RS_Unknown) {
    call_status_ = protocol::error::kTimedOut.number;
  }
  return protocol::timeout_text(command);
}

void SyncCommandObject::report_status(std::int32_t command) {
  if (call_status_ == VL_RS_AllOK) return;
  speeds_.clear_blocked(command, call_status_);
  const std::u16string text = explain_status(command);
  generation_.errors().report_sync_status(call_status_, text);
}

HRESULT SyncCommandObject::finish_call(std::int32_t command) {
  HRESULT result = S_OK;
  if (call_status_ != VL_RS_AllOK) {
    speeds_.clear_blocked(command, call_status_);
    const std::u16string text = explain_status(command);  // may set the status
    const std::int32_t status = call_status_;
    dispatch::ErrorReporting& errors = generation_.errors();
    if (protocol::warning_row(status) != 0) {
      errors.report_sync_status(status, text);
      result = S_FALSE;
    } else {
      result = errors.raise(generation_.connection(), text, generation_.identity().sync, E_FAIL, false, status);
    }
  }
  release_wait();
  return result;
}

}  // namespace kestrine::commands
