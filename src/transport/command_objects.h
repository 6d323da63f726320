// What the transport, the dispatcher and the error reporting need of the two command objects above them.
#pragma once

#include <cstdint>

#include "events/proxies.h"
#include "kestrine/component.h"
#include "kestrine/enums.h"

namespace kestrine::transport {

// Either command object: counted by its own IUnknown.
class CommandObject {
 public:
  virtual IUnknown* unknown() = 0;
  // Told before the connection drops an object that it made for itself: going soon after being made is then no
  // sign of mixed interface generations.
  virtual void retire() = 0;

 protected:
  ~CommandObject() = default;
};

class SyncCommands : public CommandObject {
 public:
  virtual events::CProxy_ILTCommandSyncEvents& event_source() = 0;

  virtual bool IsAnswerPending() const = 0;
  virtual bool IsAwaitingAnswer(std::int32_t command) const = 0;
  // True while the call that waits is a measurement of that command, which its result ends.
  virtual bool is_awaiting_result(std::int32_t command) const = 0;
  // Nothing for a negative command. Off also kills the command's timer.
  virtual void MarkAnswerPending(std::int32_t command, bool on) = 0;
  // Ends the wait and asks for the held-back events; no timer is killed.
  virtual void ReleaseAfterAnswer() = 0;
  // Ends the wait and kills its timer; asks for nothing.
  virtual void CancelPendingAnswer() = 0;
  virtual bool FlushDeferredEvents() = 0;
  virtual HRESULT FinishSyncCall(std::int32_t command, bool report_only) = 0;

  virtual void set_last_result_status(std::int32_t status) = 0;
  virtual void mark_timed_out() = 0;
  // A status change is held back while a call waits, and behind others that are held back.
  virtual bool must_defer(std::int32_t status_change) const = 0;
  virtual void defer_status_change(std::int32_t status_change) = 0;

 protected:
  ~SyncCommands() = default;
};

class AsyncCommands : public CommandObject {
 public:
  virtual events::CProxy_ILTCommandAsyncEvents& event_source() = 0;

  // The tracker stopped that axis by itself: the stored speed starts from rest again.
  virtual void clear_vertical_speed() = 0;
  virtual void clear_horizontal_speed() = 0;

 protected:
  ~AsyncCommands() = default;
};

}  // namespace kestrine::transport
