// A tracker as a value: connect, call, listen; failures are thrown, results are returned.
//
//   kestrine::Tracker tracker("192.168.0.1");
//   tracker.Initialize();
//   const auto point = tracker.MeasureStationaryPoint();
//   const auto heard = tracker.on_status([](VL_SystemStatusChange change) { ... });
//
// It stands on the interfaces of kestrine.h, in modern behaviour, and can be used beside them. It belongs to the thread
// that made it. Its operations wait for their answers and deliver events meanwhile; to hear of events otherwise the
// thread runs its loop (host.h).
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "kestrine/stream.h"
#include "kestrine/tracker_calls.h"

namespace kestrine {

// The port that a tracker's own server listens on.
inline constexpr std::uint16_t kTrackerPort = 700;

class Tracker : public TrackerCalls {
 public:
  // Connects. Throws Error where it cannot: host not found, refused, no answer in time (ConnectionTimeout, 2 s).
  explicit Tracker(const std::string& host, std::uint16_t port = kTrackerPort) : TrackerCalls(host, port) {}
  Tracker(Tracker&&) noexcept = default;
  Tracker& operator=(Tracker&& other) noexcept {
    if (this != &other) {
      close();
      TrackerCalls::operator=(std::move(other));
    }
    return *this;
  }
  ~Tracker() { close(); }

  // Ends the connection; operations throw from now on. Subscriptions stay, and hear nothing more.
  void close() {
    commands_ = {};
    if (const auto connection = std::exchange(connection_, {})) connection->DisconnectEmbeddedSystem();
  }
  // False once it is closed here; the server's own going is told by on_status (VL_SSC_ServerClosing).
  bool is_connected() const { return bool(connection_); }
  const std::string& host() const { return host_; }

  // Calls the handler with every event of the kind that it takes, such as `const kestrine::ReflectorsData&`
  // (tracker_events.h), for as long as the handle lives.
  template <class Handler>
  [[nodiscard]] Subscription on(Handler handler) {
    return subscribe(std::move(handler));
  }
  // handler(VL_SystemStatusChange)
  template <class Handler>
  [[nodiscard]] Subscription on_status(Handler handler) {
    return on([handler = std::move(handler)](const StatusChangeEvent& event) mutable { handler(event.statusChange); });
  }
  // handler(const ContinuousView<Packet>&) with every block of a continuous measurement of points; the view holds as
  // long as the call. Packets of other kinds are passed over.
  template <class Packet = MultiMeasResultT, class Handler>
  [[nodiscard]] Subscription on_points(Handler handler) {
    commands();
    return on([connection = connection_, handler = std::move(handler)](const ContinuousPointMeasDataReady&) mutable {
      const kestrine::Packet packet(*connection);
      if (const auto block = ContinuousView<Packet>::of(packet.bytes())) handler(*block);
    });
  }

  // Measures continuously for as long as the range is gone through (stream.h).
  template <class Packet = MultiMeasResultT>
  [[nodiscard]] Stream<Packet> stream(const StreamOptions& options = {}) {
    return Stream<Packet>(*this, options);
  }

  // The interfaces that it stands on.
  ILTConnect& connection() const { return *connection_; }
  ILTCommandSync& command_sync() const { return commands(); }
};

}  // namespace kestrine
