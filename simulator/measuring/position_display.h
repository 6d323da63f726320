// The position of the target or of the probe's tip, sent three times a second to the clients that asked for it.
#pragma once

#include "simulator/tracker/tracker.h"

namespace kestrine::simulator {

class PositionDisplay {
 public:
  explicit PositionDisplay(Tracker& tracker);
  void stop() { timer_.stop(); }

 private:
  void start();
  void show();

  Tracker& tracker_;
  Timer timer_;
};

}  // namespace kestrine::simulator
