// What the layers below the two command objects need of them.
#pragma once

#include <cstdint>

#include "connection/connection.h"
#include "dispatch/event_source.h"
#include "kestrine/component.h"

namespace kestrine::dispatch {

using connection::CommandSet;

// Either command object: counted by its own IUnknown.
class CommandObject {
 public:
  explicit CommandObject(CommandSet set) : command_set(set) {}
  CommandObject(const CommandObject&) = delete;
  CommandObject& operator=(const CommandObject&) = delete;

  virtual IUnknown* unknown() = 0;
  virtual EventSource& event_source() = 0;

  // Milliseconds since start_age().
  std::uint32_t age() const;
  void start_age();

  const CommandSet command_set;

 protected:
  ~CommandObject() = default;

 private:
  std::uint32_t creation_tick_ = 0;
};

class SyncCommands : public CommandObject {
 public:
  SyncCommands() : CommandObject(CommandSet::kSync) {}

  virtual bool is_answer_pending() const = 0;
  virtual bool is_awaiting_answer(std::int32_t command) const = 0;
  // True while the call that waits is a measurement of that command, which its result ends.
  virtual bool is_awaiting_result(std::int32_t command) const = 0;
  // True when its outputs come with a result, of whichever kind.
  virtual bool awaits_result() const = 0;
  // The request of the call that waits; 0 without one, and where answers are not told apart by their requests.
  virtual connection::PendingRequests::Ticket awaited_request() const = 0;
  // Ends the wait, whichever command waits, and stops the timer of `command`; nothing for a negative one.
  virtual void end_wait(std::int32_t command) = 0;
  // Ends the wait and has the held-back events fired by the loop; no timer is stopped.
  virtual void release_wait() = 0;
  // Ends the wait and stops its timer; what is held back stays so.
  virtual void cancel_wait() = 0;
  // The command's time is over.
  virtual void time_out() = 0;

  // What the waiting call, or else the latest one, came to. The status received last is the connection's.
  virtual void set_call_status(std::int32_t status) = 0;
  // Error information for the status at hand and no more: fires nothing, ends nothing.
  virtual void report_status(std::int32_t command) = 0;

  // A status change is held back while a call waits, and behind others that are held back.
  virtual bool must_defer(std::int32_t status_change) const = 0;
  virtual void defer_status_change(std::int32_t status_change) = 0;
  virtual void fire_deferred_events() = 0;

 protected:
  ~SyncCommands() = default;
};

class AsyncCommands : public CommandObject {
 public:
  AsyncCommands() : CommandObject(CommandSet::kAsync) {}

  // A bad answer may say that the tracker stopped an axis by itself: its stored speed starts from rest again.
  virtual void clear_blocked_speeds(std::int32_t command, std::int32_t status) = 0;

 protected:
  ~AsyncCommands() = default;
};

void fire_status_change(CommandObject& object, std::int32_t change);

}  // namespace kestrine::dispatch
