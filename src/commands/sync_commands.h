// The operations of ILTCommandSync: each sends, waits for its answer while the thread's messages are handled, and
// reads its outputs. One call waits at a time.
#pragma once

#include <cstdint>
#include <deque>
#include <string>

#include "commands/command_base.h"
#include "commands/timeouts.h"

namespace kestrine::commands {

class SyncCommandObject : public CommandBase<dispatch::SyncCommands> {
 public:
  explicit SyncCommandObject(std::shared_ptr<dispatch::Generation> generation);

  // The operation with this identifier; one argument for each of its parameters, in order. E_POINTER when an
  // output has nowhere to go: then nothing is sent.
  HRESULT perform(int dispid, Argument* arguments);

  bool is_answer_pending() const override { return pending_command_ >= 0; }
  bool is_awaiting_answer(std::int32_t command) const override {
    return pending_command_ >= 0 && pending_command_ == command;
  }
  bool is_awaiting_result(std::int32_t command) const override;
  bool awaits_result() const override;
  PendingRequests::Ticket awaited_request() const override;
  void begin_wait(std::int32_t command);
  void end_wait(std::int32_t command) override;
  void release_wait() override;
  void cancel_wait() override;
  void time_out() override;

  void set_call_status(std::int32_t status) override { call_status_ = status; }
  void report_status(std::int32_t command) override;

  bool must_defer(std::int32_t status_change) const override;
  void defer_status_change(std::int32_t status_change) override { deferred_.push_back(status_change); }
  void fire_deferred_events() override;

 protected:
  ~SyncCommandObject() = default;

 private:
  bool is_call_waiting() const override { return is_answer_pending(); }
  HRESULT refuse_while_waiting(const MemberRow& row) override;
  bool throws() const override { return false; }

  // A call from its sending to its return, and what it came to.
  struct Call;

  HRESULT use_increased_timeouts(bool increased);
  void wait_for_answer(Call& call);
  void stop_waiting();
  // The outcome is the call's own: it is taken as the wait ends, before a handler can make another call.
  void take_outcome(Call& call);
  // Null, or why the outputs cannot be had.
  const protocol::Error* read_outputs(const Call& call);
  HRESULT finish_call(const Call& call);
  // The text of a failed command. A call that ran out keeps the status 36, and only with increased timeouts gets the
  // number of its failure: kept.
  std::u16string explain(std::int32_t command, bool timed_out, std::int32_t& status) const;
  void close(const Call& call);

  Timeouts timeouts_;
  bool increased_timeouts_ = false;
  std::int32_t pending_command_ = -1;
  Call* call_ = nullptr;      // that waits: its outcome has not been taken yet
  int calls_ = 0;             // that have not returned: handlers make them inside one another
  bool flush_waits_ = false;  // for the calls to return
  bool timed_out_ = false;
  std::int32_t call_status_ = 0;
  std::deque<std::int32_t> deferred_;  // only status changes are ever held back
};

// Changes that an application learns of at once, also in the middle of a call.
bool is_immediate_status_change(std::int32_t status_change);

}  // namespace kestrine::commands
