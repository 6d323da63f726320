#include "commands/sync_commands.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <utility>

#include "kestrine/enums.h"
#include "kestrine/pointer.h"
#include "kestrine/wire.h"
#include "platform/home.h"
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

constexpr std::int64_t kLongestTimer = std::numeric_limits<std::int32_t>::max();  // milliseconds
constexpr std::uint32_t kDroppedMessage = 0x036A;  // an idle notice of application frameworks

// A stream that never pauses must not keep a call from returning whose wait is over.
constexpr int kMostMessagesInARow = 1000;

// Waits a slice, then delivers what is due on the thread, or as much as it takes until the wait is over. A quit message
// ends the delivery and is lost by that: kept.
template <class IsOver>
void deliver_due_messages(bool prompt, IsOver is_over) {
  platform::wait_slice(prompt);
  // A prompt slice begins with a look at the sockets; a second one here would be a system call for nothing in every
  // round trip.
  const auto is_due = prompt ? platform::is_message_queued : platform::peek_message;
  for (int delivered = 0; delivered < kMostMessagesInARow && is_due(); ++delivered) {
    platform::Message message;
    if (!platform::get_message(message)) return;
    if (message.id != kDroppedMessage) platform::dispatch_message(message);
    if (is_over()) return;
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

struct SyncCommandObject::Call {
  ~Call() { object.close(*this); }

  SyncCommandObject& object;
  const MemberRow& row;
  Argument* arguments;
  Connection& connection;
  PendingRequests::Ticket ticket;
  std::uint32_t results_before;  // stationary measurements, on the connection

  std::int32_t status = VL_RS_Unknown;
  bool timed_out = false;
  const protocol::Error* failure = nullptr;  // why the outputs cannot be had
  std::exception_ptr thrown = nullptr;       // by the making of the outputs
};

SyncCommandObject::SyncCommandObject(std::shared_ptr<dispatch::Generation> generation)
    : CommandBase(std::move(generation)), timeouts_(generation_.process().rules().ignores_senseless_times) {}

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
  if (row.sends_only) return send(row, request);
  call_status_ = VL_RS_Unknown;
  timed_out_ = false;
  PendingRequests::Ticket ticket = 0;
  if (const HRESULT result = send(row, request, &ticket); FAILED(result)) return result;

  // There is a connection: without one nothing is sent. NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage)
  Call call{*this, row, arguments, *connection, ticket, connection->measurement().results()};
  ++calls_;
  wait_for_answer(call);
  if (call.thrown != nullptr) std::rethrow_exception(call.thrown);
  if (call.failure != nullptr) return refuse(*call.failure, false);
  const HRESULT result = finish_call(call);
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

void SyncCommandObject::stop_waiting() {
  if (call_ != nullptr) take_outcome(*std::exchange(call_, nullptr));
  pending_command_ = -1;
}

void SyncCommandObject::end_wait(std::int32_t command) {
  if (command < 0) return;
  if (connection::Channel* const channel = generation_.channel()) channel->stop_timer(command);
  stop_waiting();
}

void SyncCommandObject::release_wait() {
  stop_waiting();
  if (connection::Channel* const channel = generation_.channel()) channel->request_flush();
}

void SyncCommandObject::cancel_wait() {
  end_wait(pending_command_);
}

void SyncCommandObject::time_out() {
  timed_out_ = true;
  release_wait();
}

void SyncCommandObject::wait_for_answer(Call& call) {
  const MemberRow& row = call.row;
  connection::MeasurementState& measurement = call.connection.measurement();
  const std::int32_t command = row.command->code;
  if (row.waits_for_result && command == VL_C_StartMeasurement) measurement.on_start_sent();
  const std::int64_t timeout =
      timeouts_[*row.wait] + std::int64_t{row.adds_measure_time ? measurement.stationary_time() : 0};

  generation_.objects().use(*this, call.connection);
  if (connection::Channel* const channel = generation_.channel()) {
    channel->start_timer(command, static_cast<std::int32_t>(std::clamp<std::int64_t>(timeout, 1, kLongestTimer)));
  }
  call_ = &call;
  begin_wait(command);
  const connection::Rules& rules = call.connection.rules();
  const auto is_over = [&] { return call_ != &call; };
  const std::uint32_t forks = platform::forks();
  while (!is_over()) {
    deliver_due_messages(rules.wakes_when_due, [&] { return rules.waits_for_own_answer && is_over(); });
    // In a child that a handler has forked no answer will ever come.
    if (!is_over() && (platform::host_gives_up() || platform::forks() != forks)) cancel_wait();
  }
}

// Also of a call that an exception of a handler ends.
void SyncCommandObject::close(const Call& call) {
  if (call_ == &call) {
    call_ = nullptr;
    pending_command_ = -1;
  }
  call.connection.requests().abandon(call.ticket);
  const bool flush = --calls_ == 0 && std::exchange(flush_waits_, false);
  connection::Channel* const channel = generation_.channel();
  if (channel == nullptr) return;
  if (call.connection.rules().timer_ends_with_call) channel->stop_timer(call.row.command->code);
  if (flush) channel->request_flush();
}

bool SyncCommandObject::is_awaiting_result(std::int32_t command) const {
  return call_ != nullptr && call_->row.waits_for_result && is_awaiting_answer(command);
}

bool SyncCommandObject::awaits_result() const {
  return call_ != nullptr && result_of(call_->row) != PendingRequests::Result::kNone;
}

PendingRequests::Ticket SyncCommandObject::awaited_request() const {
  return call_ != nullptr ? call_->ticket : 0;
}

void SyncCommandObject::take_outcome(Call& call) {
  call.status = call_status_;
  call.timed_out = timed_out_;
  // Whatever else ended the wait, an old result is never handed out as a new one.
  if (call.row.waits_for_result && call.status == VL_RS_AllOK &&
      call.connection.measurement().results() == call.results_before) {
    call.status = VL_RS_Unknown;
  }
  try {
    call.failure = read_outputs(call);
  } catch (...) {
    call.thrown = std::current_exception();  // the call's own, wherever its wait happens to end
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

// A flush that comes before a call has returned waits for the call's own. A handler that starts a new call ends the
// flush; what is left waits for that call's.
void SyncCommandObject::fire_deferred_events() {
  if (calls_ != 0) {
    flush_waits_ = true;
    return;
  }
  const Pointer<IUnknown> keep(unknown());
  while (!deferred_.empty() && !is_answer_pending()) {
    const std::int32_t change = deferred_.front();
    deferred_.pop_front();
    dispatch::fire_status_change(*this, change);
  }
}

// --- The end of a call

const protocol::Error* SyncCommandObject::read_outputs(const Call& call) {
  const MemberRow& row = call.row;
  if (row.outputs_when_good && call.status != VL_RS_AllOK) return nullptr;
  const ReceiveBuffers::Buffer source = call.connection.buffers().for_type(packet_type(row.source));
  const bool any_type = row.result_type == -1 || call.connection.accepts_any_statistic_mode();
  if (!any_type && wire::load_i32(source.bytes + connection::kTypeOffset) != row.result_type) {
    return &protocol::error::kStatisticMode;
  }
  return write_outputs(row, source.content(), call.arguments) ? nullptr : &protocol::error::kByteArray;
}

std::u16string SyncCommandObject::explain(std::int32_t command, bool timed_out, std::int32_t& status) const {
  if (!timed_out) return protocol::bad_answer_text(command, status);
  if (increased_timeouts_ && status == VL_RS_Unknown) status = protocol::error::kTimedOut.number;
  return protocol::timeout_text(command);
}

void SyncCommandObject::report_status(std::int32_t command) {
  if (call_status_ == VL_RS_AllOK) return;
  speeds_.clear_blocked(command, call_status_);
  const std::u16string text = explain(command, timed_out_, call_status_);
  generation_.errors().report_sync_status(call_status_, text);
}

HRESULT SyncCommandObject::finish_call(const Call& call) {
  const std::int32_t command = call.row.command->code;
  std::int32_t status = call.status;
  HRESULT result = S_OK;
  if (status != VL_RS_AllOK) {
    speeds_.clear_blocked(command, status);
    const std::u16string text = explain(command, call.timed_out, status);
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
