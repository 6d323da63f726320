// One connection to a tracker's server over its asynchronous object: every step is sent, and the loop runs until its
// answer has come as an event.
#pragma once

#include <string>

#include "cli/stream.h"
#include "cli/stream_events.h"
#include "kestrine/kestrine.h"

namespace kestrine::cli {

// Throws kestrine::Error for what cannot be sent, Failure for what the tracker refuses or leaves unanswered, and
// Stopped when the user wants to stop meanwhile.
class StreamSession {
 public:
  StreamSession(const Endpoint& endpoint, Measurement& measurement);
  ~StreamSession();
  StreamSession(const StreamSession&) = delete;
  StreamSession& operator=(const StreamSession&) = delete;

  // Units, right-handed X, Y, Z, and who the tracker is.
  void prepare();
  void set_mode(const StreamOptions& options);
  void start(bool probe);
  // What the tracker has measured until then comes before it returns.
  void stop();

  const StreamEvents& events() const { return *events_; }

 private:
  enum class Patience { kUntilStopped, kToTheEnd };

  void call(VL_Command command, HRESULT sent, Patience patience = Patience::kUntilStopped);
  void set_spacing(const StreamOptions& options);

  Measurement& measurement_;
  Pointer<ILTConnect> connection_;
  Pointer<ILTCommandAsync> commands_;
  Pointer<StreamEvents> events_;
  Subscription subscription_;
};

}  // namespace kestrine::cli
