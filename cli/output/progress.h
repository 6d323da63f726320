// The line that tells how a measurement is getting on, rewritten in place.
#pragma once

#include <cstddef>
#include <iosfwd>

namespace kestrine::cli {

struct Goal {
  std::size_t points = 0;  // 0: no set number
  double seconds = 0;      // 0: no set time
  bool uncounted = false;  // the points stay with the tracker
};

class Progress {
 public:
  // Writes nothing when it is not shown, as when nobody reads along at a terminal.
  Progress(std::ostream& out, bool shown, Goal goal);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Seconds since the start. Redraws a few times a second at most.
  void update(std::size_t points, double seconds);
  // Takes the line away, so that something else can be written in its place.
  void clear();

 private:
  double share_done(std::size_t points, double seconds) const;

  std::ostream& out_;
  bool shown_;
  Goal goal_;
  double next_ = 0;
  bool drawn_ = false;
};

}  // namespace kestrine::cli
