// Whether all of a stream came: what was received, held against what should have been.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "cli/points/measurement.h"

namespace kestrine::cli {

struct Reception {
  std::size_t announced = 0;         // packets that an event announced
  std::size_t announced_points = 0;  // in them, as those events said
  std::size_t packets = 0;           // that were fetched, and were those that had been announced
  std::size_t points = 0;            // in them
  std::size_t bytes = 0;
};

// How far one point is from the next. What is 0 is not expected.
struct Pitch {
  double seconds = 0;
  double distance = 0;         // in the unit of the points
  Vector cell{};               // sides of a grid's cells, likewise; an axis of 0 does not count
  double fastest_seconds = 0;  // in which the tracker can measure the next point; only for a distance or cells

  bool is_way() const { return distance > 0 || cell != Vector{}; }
};

// Looks at each point as it comes, and keeps only the last.
class StepCounter {
 public:
  explicit StepCounter(const Pitch& pitch = {}) : pitch_(pitch) {}

  void add(const Point& point);

  const Pitch& pitch() const { return pitch_; }
  std::size_t points() const { return points_; }
  std::size_t back() const { return back_; }  // time stamps that are not after the one before
  std::size_t gaps() const { return gaps_; }
  std::size_t lost() const { return lost_; }                     // about so many points are missing in the gaps
  double first_gap() const { return first_gap_; }                // the seconds of the point before it
  std::size_t run_past() const { return run_past_; }             // long steps that are no gaps
  double longest_run_past() const { return longest_run_past_; }  // in steps

 private:
  Pitch pitch_;
  std::optional<Point> last_;
  std::size_t points_ = 0;
  std::size_t back_ = 0;
  std::size_t gaps_ = 0;
  std::size_t lost_ = 0;
  double first_gap_ = 0;
  std::size_t run_past_ = 0;
  double longest_run_past_ = 0;
};

// What is 0 is not expected.
struct Expectation {
  std::size_t points = 0;   // asked for
  double rest = 0;          // seconds from the last point to the end, in which none came
  bool cut_short = false;   // more should have come: neither the user nor what was asked for ended it
  bool to_the_end = false;  // a point past the end of what was asked for came as well
};

struct Completeness {
  Reception reception;
  std::vector<std::string> missing;  // each a thing that is missing, in words
  std::vector<std::string> checked;  // what was looked at and found whole
  std::string verdict;               // when nothing is missing: how sure that is, and which loss would not show
};

Completeness check_completeness(const Reception& reception, const Expectation& expectation, const StepCounter& steps,
                                const Measurement& measurement);
// For a measurement of a single point; none is expected when it was `given_up` early.
Completeness check_centre(const Reception& reception, bool given_up);

}  // namespace kestrine::cli
