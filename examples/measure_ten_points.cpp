// Measures ten stationary points: measure_ten_points HOST PORT
#include <cstdio>
#include <cstdlib>

#include "kestrine/tracker.h"

int main(int, char** argv) try {
  kestrine::Tracker tracker(argv[1], static_cast<std::uint16_t>(std::atoi(argv[2])));
  tracker.Initialize();
  for (int i = 0; i < 10; ++i) {
    const auto point = tracker.MeasureStationaryPoint();
    std::printf("%.6f %.6f %.6f\n", point.val1, point.val2, point.val3);
  }
} catch (const kestrine::Error& error) {
  return std::fprintf(stderr, "%s (error %d)\n", error.what(), error.number()), 1;
}
