// Whether all of a stream came: what was received, held against what should have been.
#pragma once

#include <cstddef>
#include <span>
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

// What is 0 is not expected.
struct Expectation {
  std::size_t points = 0;      // asked for
  double seconds = 0;          // from each point to the next
  double distance = 0;         // likewise, in the unit of the points
  Vector cell{};               // sides of a grid's cells, likewise; an axis of 0 does not count
  double fastest_seconds = 0;  // in which the tracker can measure the next point; only for a distance or cells
  bool cut_short = false;      // more should have come: neither the user nor what was asked for ended it
};

struct Completeness {
  Reception reception;
  std::vector<std::string> missing;  // each a thing that is missing, in words
  std::vector<std::string> checked;  // what was looked at and found whole
  std::string verdict;               // when nothing is missing: how sure that is, and which loss would not show
};

Completeness check_completeness(const Reception& reception, const Expectation& expectation,
                                std::span<const Point> points, const LengthUnit& unit);
// For a measurement of a single point; none is expected when it was `given_up` early.
Completeness check_centre(const Reception& reception, bool given_up);

}  // namespace kestrine::cli
