// Writes the points of ten seconds as lines of time (s) and coordinates: stream_to_csv HOST PORT
#include <cstdio>
#include <cstdlib>

#include "kestrine/tracker.h"

using namespace std::chrono_literals;

int main(int, char** argv) try {
  kestrine::Tracker tracker(argv[1], static_cast<std::uint16_t>(std::atoi(argv[2])));
  tracker.Initialize();
  std::puts("time,x,y,z");
  for (const auto& block : tracker.stream({.interval = 10ms, .duration = 10s})) {
    for (const MeasValueT& point : block) {
      std::printf("%d.%06d,%.6f,%.6f,%.6f\n", point.lTime1, point.lTime2, point.dVal1, point.dVal2, point.dVal3);
    }
  }
} catch (const kestrine::Error& error) {
  return std::fprintf(stderr, "%s (error %d)\n", error.what(), error.number()), 1;
}
