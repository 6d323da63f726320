// One connection to a tracker's server over its asynchronous object: every step is sent, and the loop runs until its
// answer has come as an event. The tracker's system settings are left as they were found.
#pragma once

#include "cli/streaming/events.h"
#include "cli/streaming/options.h"
#include "kestrine/kestrine.h"

namespace kestrine::cli {

// Throws kestrine::Error when there is no connection, Failure for what cannot be sent and for what the tracker refuses
// or leaves unanswered, and Stopped when the user wants to stop meanwhile.
class StreamSession {
 public:
  StreamSession(const Endpoint& endpoint, Measurement& measurement);
  ~StreamSession();
  StreamSession(const StreamSession&) = delete;
  StreamSession& operator=(const StreamSession&) = delete;

  // Units, right-handed X, Y, Z, and who the tracker is.
  void prepare();
  void set_mode(const StreamOptions& options);
  // Does not give up for a user who wants to stop: what has been started is to be stopped properly.
  void start(bool probe);
  // What the tracker has measured until then comes before it returns.
  void stop();

  const StreamState& state() const { return events_->state; }

 private:
  enum class Patience { kUntilStopped, kToTheEnd };

  void call(VL_Command command, HRESULT sent, Patience patience = Patience::kUntilStopped);
  void ask_for_unsolicited_messages();
  void restore_settings();
  HRESULT set_unsolicited_messages(bool wanted);
  void set_spacing(const StreamOptions& options);

  Measurement& measurement_;
  Pointer<ILTConnect> connection_;
  Pointer<ILTCommandAsync> commands_;
  Pointer<StreamEvents> events_;
  Subscription subscription_;
  bool settings_changed_ = false;
};

}  // namespace kestrine::cli
