// One connection to a tracker's server over its asynchronous object: every step is sent, and the loop runs until its
// answer has come as an event. The tracker's system settings are left as they were found.
#pragma once

#include "cli/streaming/events.h"
#include "cli/streaming/options.h"
#include "kestrine/kestrine.h"

namespace kestrine::cli {

// Throws Failure when there is no connection, for what cannot be sent and for what the tracker refuses or leaves
// unanswered, and Stopped when the user wants to stop meanwhile.
class StreamSession {
 public:
  StreamSession(const Endpoint& endpoint, Measurement& measurement, Record& record);
  ~StreamSession();
  StreamSession(const StreamSession&) = delete;
  StreamSession& operator=(const StreamSession&) = delete;

  // Units, right-handed X, Y, Z, and who the tracker is.
  void prepare();
  void set_mode(const StreamOptions& options);
  // However it ends, the tracker may be measuring from then on.
  void start(bool probe);
  // What the tracker has measured until then comes before it returns. Does not give up for a user who wants to stop,
  // but soon where the tracker says nothing any more.
  void stop();
  // The tracker may have gone silent: the next call that closes something hardly waits, nor do others until there is
  // an answer.
  void expect_no_answer() { silent_ = true; }

  const StreamState& state() const { return events_->state; }

 private:
  enum class Patience { kUntilStopped, kClosing };

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
  bool silent_ = false;  // the latest answer is owed
};

}  // namespace kestrine::cli
