// The library's side of a comparison: a connected synchronous object, and a handler that counts a stream.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <stdexcept>

#include "kestrine/kestrine.h"

namespace kestrine::bench {

struct LibraryClient {
  explicit LibraryClient(std::uint16_t port) : connection(create<ILTConnect>(CLSID_LTConnect)) {
    check(connection->ConnectEmbeddedSystem(Text("127.0.0.1"), port));
    sync = command_sync(*connection);
  }
  ~LibraryClient() { connection->DisconnectEmbeddedSystem(); }
  LibraryClient(const LibraryClient&) = delete;
  LibraryClient& operator=(const LibraryClient&) = delete;

  Pointer<ILTConnect> connection;
  Pointer<ILTCommandSync> sync;
};

// Counts what a stream brings, and ends the loop with the last packet.
class Counter final : public SyncEvents {
 public:
  void expect(std::size_t packets) { left_ = packets; }
  void ReflectorPositionData(double, double, double) override { count(); }
  void ContinuousPointMeasDataReady(std::int32_t, std::int32_t) override { count(); }

 private:
  void count() {
    if (--left_ == 0) host::quit();
  }

  std::size_t left_ = 0;
};

class LibraryStream {
 public:
  explicit LibraryStream(std::uint16_t port) : client_(port) {
    check(client_.sync->SetMeasurementMode(VL_MM_ContinuousTime));
  }

  void start(std::size_t packets) {
    counter_->expect(packets);
    check(client_.sync->StartContinuousPointMeasurement());
  }
  void run_to_the_end() const {
    if (host::run_for(std::chrono::seconds(60))) throw std::runtime_error("the stream did not end");
  }

 private:
  LibraryClient client_;
  const Pointer<Counter> counter_ = Pointer<Counter>::adopt(new Counter);
  const Subscription subscription_{*client_.sync, DIID__ILTCommandSyncEvents, *counter_};
};

}  // namespace kestrine::bench
