// Measures one point with the simulator in the same program.
#include <cstdio>

#include "kestrine/kestrine.h"
#include "kestrine/simulator.h"

int main() {
  kestrine::simulator::Options options;
  options.time_scale = 0;
  const kestrine::simulator::Simulator simulator(options);
  const auto connection = kestrine::create<ILTConnect>(CLSID_LTConnect);
  kestrine::check(connection->ConnectEmbeddedSystem(kestrine::Text("127.0.0.1"), simulator.port()));
  const auto tracker = kestrine::command_sync(*connection);
  kestrine::check(tracker->Initialize());
  SingleMeasResultT point;
  kestrine::check(tracker->MeasureStationaryPointEx(&point));
  std::printf("%.6f %.6f %.6f\n", point.dVal1, point.dVal2, point.dVal3);
}
