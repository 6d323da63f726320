// Connects to a server and measures one stationary point: measure_point HOST PORT
#include <cstdio>
#include <cstdlib>

#include "kestrine/kestrine.h"

int main(int argc, char** argv) try {
  if (argc != 3) return std::fprintf(stderr, "usage: measure_point HOST PORT\n"), 2;
  kestrine::host::set_behaviour(kestrine::host::Behaviour::kModern);
  const auto connection = kestrine::create<ILTConnect>(CLSID_LTConnect);
  kestrine::check(connection->ConnectEmbeddedSystem(kestrine::Text(argv[1]), std::atoi(argv[2])));
  const auto tracker = kestrine::command_sync(*connection);
  kestrine::check(tracker->Initialize());
  SingleMeasResultT point;
  kestrine::check(tracker->MeasureStationaryPointEx(&point));
  std::printf("%.6f %.6f %.6f\n", point.dVal1, point.dVal2, point.dVal3);
} catch (const kestrine::Error& error) {
  return std::fprintf(stderr, "%s (error %d)\n", error.what(), error.number()), 1;
}
