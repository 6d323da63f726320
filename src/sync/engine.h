// The waiting engine: the one pending slot, the pumping wait, and what ends it.
#pragma once

#include <cstdint>
#include <deque>
#include <string>

#include "commands/drive_speeds.h"
#include "protocol/errors.h"
#include "sync/timeouts.h"
#include "transport/command_objects.h"
#include "transport/slots.h"

namespace kestrine::sync {

// State and rules of a synchronous command object that do not depend on the command.
class Engine : public transport::SyncCommands {
 public:
  explicit Engine(transport::Slots& generation) : slots(generation) {}
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

  // What the object calls when it is whole, and before it goes.
  void enter();
  void leave();

  bool IsAnswerPending() const override { return pending_command_ >= 0; }
  bool IsAwaitingAnswer(std::int32_t command) const override {
    return pending_command_ >= 0 && pending_command_ == command;
  }
  bool is_awaiting_result(std::int32_t command) const override { return awaits_result_ && IsAwaitingAnswer(command); }
  void MarkAnswerPending(std::int32_t command, bool on) override;
  void ReleaseAfterAnswer() override;
  void CancelPendingAnswer() override;
  bool FlushDeferredEvents() override;
  HRESULT FinishSyncCall(std::int32_t command, bool report_only) override;
  void set_last_result_status(std::int32_t status) override { last_result_status_ = status; }
  void mark_timed_out() override { timed_out_ = true; }
  bool must_defer(std::int32_t status_change) const override;
  void defer_status_change(std::int32_t status_change) override { deferred_.push_back(status_change); }
  void retire() override { retired_ = true; }

  HRESULT put_UseIncreasedTimeouts(VARIANT_BOOL increased);
  bool increased_timeouts() const { return increased_timeouts_; }
  std::int32_t last_result_status() const { return last_result_status_; }

 protected:
  ~Engine() = default;

  void begin_call();
  // Sends, or reports that it could not.
  HRESULT send(std::int32_t command, const std::uint8_t* bytes, std::int32_t size);
  // Starts the command's timer and pumps until something ends the wait: the answer, or with `for_result` the
  // measurement that follows it.
  void wait_for_answer(std::int32_t command, std::int32_t timeout, bool for_result);
  HRESULT refuse(const protocol::Error& failure, bool throws);

  transport::Slots& slots;
  Timeouts timeouts_;
  commands::DriveSpeeds speeds_;

 private:
  std::u16string report_text(std::int32_t command);
  void post_to_sink(std::uint32_t message);

  std::uint32_t creation_tick_ = 0;
  bool timed_out_ = false;
  std::int32_t pending_command_ = -1;
  bool awaits_result_ = false;  // of the pending command
  // Only status changes are ever held back.
  std::deque<std::int32_t> deferred_;
  std::int32_t last_result_status_ = 0;
  bool increased_timeouts_ = false;
  bool retired_ = false;
};

// Changes that an application learns of at once, also in the middle of a call.
bool IsImmediateStatusChange(std::int32_t status_change);

// Waits a slice, then delivers everything that is due on the thread. False when the quit message was met, which
// is thereby lost.
bool PumpMessagesOnce();

}  // namespace kestrine::sync
