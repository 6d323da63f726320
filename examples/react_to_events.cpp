// Streams a moving target for two seconds and reacts to what comes, on a loop of its own: react_to_events HOST PORT
#include <cstdio>
#include <cstdlib>

#include "kestrine/kestrine.h"

namespace {

class Stream final : public kestrine::SyncEvents {
 public:
  explicit Stream(ILTConnect& connection) : connection_(connection) {}

  // A block of points has come; it is the connection's latest packet.
  void ContinuousPointMeasDataReady(std::int32_t, std::int32_t) override {
    const kestrine::Packet packet(connection_);
    const auto points = kestrine::ContinuousView<MultiMeasResultT>::of(packet.bytes());
    if (!points || points->empty()) return;
    const MeasValueT last = (*points)[points->size() - 1];
    points_ += points->size();
    std::printf("%6zu points, the last at %10.6f %10.6f %10.6f\n", points_, last.dVal1, last.dVal2, last.dVal3);
  }

  void StatusChangeEvent(VL_SystemStatusChange change) override {
    if (change == VL_SSC_ServerClosing) kestrine::host::quit(1);
  }

 private:
  ILTConnect& connection_;
  std::size_t points_ = 0;
};

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 3) return std::fprintf(stderr, "usage: react_to_events HOST PORT\n"), 2;
  kestrine::host::set_behaviour(kestrine::host::Behaviour::kModern);
  const auto connection = kestrine::create<ILTConnect>(CLSID_LTConnect);
  kestrine::check(connection->ConnectEmbeddedSystem(kestrine::Text(argv[1]), std::atoi(argv[2])));
  const auto tracker = kestrine::command_sync(*connection);
  const auto stream = kestrine::Pointer<Stream>::adopt(new Stream(*connection));
  const kestrine::Subscription subscription(*tracker, DIID__ILTCommandSyncEvents, *stream);

  kestrine::check(tracker->Initialize());
  kestrine::check(tracker->SetMeasurementMode(VL_MM_ContinuousTime));
  kestrine::check(tracker->SetContinuousTimeModeParams(10, 0, VARIANT_FALSE, VL_RT_Sphere));
  kestrine::check(tracker->StartContinuousPointMeasurement());
  if (!kestrine::host::run_for(std::chrono::seconds(2))) return std::fprintf(stderr, "the server has left\n"), 1;
  kestrine::check(tracker->StopContinuousMeasurement());
} catch (const kestrine::Error& error) {
  return std::fprintf(stderr, "%s (error %d)\n", error.what(), error.number()), 1;
}
