#include "sync/engine.h"

#include <algorithm>
#include <cstdlib>

#include "kestrine/enums.h"
#include "kestrine/host.h"
#include "kestrine/pointer.h"
#include "platform/clock.h"
#include "platform/loop.h"
#include "platform/notices.h"
#include "protocol/errors.h"
#include "protocol/texts.h"
#include "transport/command_sender.h"
#include "transport/connection.h"
#include "transport/generation_notice.h"
#include "transport/message_sink.h"

namespace kestrine::sync {
namespace {

constexpr std::uint32_t kDroppedMessage = 0x036A;  // an idle notice of application frameworks

// A stream that never pauses must not keep a call from returning whose wait is over.
constexpr int kMostMessagesInARow = 1000;

platform::WindowHandle sink_window(const transport::Slots& slots) {
  return slots.message_sink == nullptr ? 0 : slots.message_sink->window();
}

bool between(std::int32_t value, std::int32_t low, std::int32_t high) {
  return value >= low && value <= high;
}

}  // namespace

bool IsImmediateStatusChange(std::int32_t change) {
  return between(change, VL_SSC_MeasStatus_NotReady, VL_SSC_MeasStatus_Ready) ||
         between(change, VL_SSC_MeasStatus_6DStatusInvalid, VL_SSC_ExternalTriggerStopEvent) ||
         between(change, VL_SSC_ProbeButton1Down, VL_SSC_ProbeButton1DoubleClick) ||
         between(change, VL_SSC_ProbeButton2Down, VL_SSC_ProbeButton2DoubleClick) ||
         between(change, VL_SSC_ProbeButton3Down, VL_SSC_ProbeButton3DoubleClick) ||
         between(change, VL_SSC_ProbeButton4Down, VL_SSC_ProbeButton4DoubleClick) ||
         between(change, VL_SSC_TPConnectionClosing, VL_SSC_ServerClosing);
}

bool PumpMessagesOnce() {
  platform::wait_slice();
  // With early wake the next slice begins with a look at the sockets; a second one here would be a system call for
  // nothing in every round trip.
  const auto is_due = host::early_wake() ? platform::is_message_queued : platform::peek_message;
  for (int delivered = 0; delivered < kMostMessagesInARow && is_due(); ++delivered) {
    platform::Message message;
    if (!platform::get_message(message)) return false;
    if (message.id != kDroppedMessage) platform::dispatch_message(message);
  }
  return true;
}

void Engine::enter() {
  if (!slots.creating_internally) slots.current_sync = this;
  if (slots.process.objects_not_yet_fetched) {
    // Who makes command objects of his own does not want the connection's. When it makes those, there are none yet.
    if (slots.current_sync != nullptr && slots.connection != nullptr) slots.connection->sync_present = true;
    slots.release_internal_sync();
  }
  if (!slots.ClaimInterfaceGeneration()) transport::show_mixed_generations();
  creation_tick_ = platform::tick_count();
}

void Engine::leave() {
  if (slots.current_sync == this) slots.current_sync = nullptr;
  if (!retired_) transport::check_lifetime(slots, creation_tick_);
}

void Engine::MarkAnswerPending(std::int32_t command, bool on) {
  if (command < 0) return;
  if (!on) platform::kill_timer(sink_window(slots), static_cast<std::uint64_t>(command));
  pending_command_ = on ? command : -1;
}

void Engine::ReleaseAfterAnswer() {
  pending_command_ = -1;
  platform::post_message(sink_window(slots), transport::WM_FLUSH_DEFERRED_EVENTS, 0, 0);
}

void Engine::CancelPendingAnswer() {
  if (IsAnswerPending()) MarkAnswerPending(pending_command_, false);
}

bool Engine::must_defer(std::int32_t status_change) const {
  return !IsImmediateStatusChange(status_change) && (IsAnswerPending() || !deferred_.empty());
}

// A handler that starts a new call ends the flush; what is left waits for that call's own.
bool Engine::FlushDeferredEvents() {
  const Pointer<IUnknown> keep(unknown());
  while (!deferred_.empty() && !IsAnswerPending()) {
    const auto change = static_cast<VL_SystemStatusChange>(deferred_.front());
    deferred_.pop_front();
    event_source().Fire_StatusChangeEvent(change);
  }
  return true;
}

std::u16string Engine::report_text(std::int32_t command) {
  if (!timed_out_) return protocol::bad_answer_text(command, last_result_status_);
  if (increased_timeouts_ && last_result_status_ == VL_RS_Unknown) {
    last_result_status_ = protocol::error::kTimedOut.number;
  }
  return protocol::timeout_text(command);
}

HRESULT Engine::FinishSyncCall(std::int32_t command, bool report_only) {
  HRESULT result = S_OK;
  if (last_result_status_ != VL_RS_AllOK) {
    if (command == VL_C_MoveHV || command == VL_C_Unknown) {
      if (last_result_status_ == protocol::kVerticalLimitStatus) speeds_.vertical = 0;
      if (last_result_status_ == protocol::kHorizontalLimitStatus) speeds_.horizontal = 0;
    }
    const std::u16string text = report_text(command);
    const std::int32_t status = last_result_status_;
    const std::int32_t warning = protocol::warning_row(status);
    if (warning != 0 || report_only) {
      slots.errors->set_error_information(warning != 0 ? protocol::table_text(warning) : text,
                                          slots.identity.sync_source, slots.identity.sync, status);
      result = S_FALSE;
    } else {
      result = slots.errors->RaiseError(slots.connection, text, slots.identity.sync, E_FAIL, false, status);
    }
  }
  if (!report_only) ReleaseAfterAnswer();
  return result;
}

HRESULT Engine::put_UseIncreasedTimeouts(VARIANT_BOOL increased) {
  increased_timeouts_ = increased != 0;
  return timeouts_.read_again(increased_timeouts_) ? S_OK : S_FALSE;
}

void Engine::begin_call() {
  last_result_status_ = VL_RS_Unknown;
  timed_out_ = false;
}

HRESULT Engine::send(std::int32_t command, const std::uint8_t* bytes, std::int32_t size) {
  if (slots.transport != nullptr && slots.transport->send(bytes, size)) return S_OK;
  return slots.errors->RaiseError(slots.connection, protocol::send_failure_text(command), slots.identity.sync, E_FAIL,
                                  false, protocol::error::kSendFailed.number);
}

void Engine::wait_for_answer(std::int32_t command, std::int32_t timeout, bool for_result) {
  platform::set_timer(sink_window(slots), static_cast<std::uint64_t>(command), static_cast<std::uint32_t>(timeout));
  MarkAnswerPending(command, true);
  awaits_result_ = for_result;
  while (IsAwaitingAnswer(command)) {
    PumpMessagesOnce();
    if (IsAwaitingAnswer(command) && platform::host_gives_up()) CancelPendingAnswer();
  }
}

HRESULT Engine::refuse(const protocol::Error& failure, bool throws) {
  return slots.errors->RaiseErrorFromResource(slots.connection, failure.row, slots.identity.sync, E_FAIL, throws,
                                              failure.number);
}

}  // namespace kestrine::sync
