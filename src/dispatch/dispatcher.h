// The single consumer of complete packets and timer expiries: it records the status, ends waits and turns every
// packet into its events.
#pragma once

#include <cstdint>

#include "connection/connection.h"
#include "dispatch/command_objects.h"

namespace kestrine::dispatch {

class Generation;

class Dispatcher final : public connection::ConnectionEvents {
 public:
  explicit Dispatcher(Generation& generation) : generation_(generation) {}

  // Reads within the packet's buffer only.
  void on_packet(connection::Connection& connection, const connection::ReceivedPacket& packet,
                 platform::WindowHandle window) override;
  void on_out_of_step() override;
  void on_closed(connection::Connection& connection) override;
  void on_timer(connection::Connection& connection) override;
  bool on_flush() override;

 private:
  // One packet on its way, with the objects that its events go to; null where an interface gets none, as under every
  // notification method but events.
  struct Delivery {
    connection::Connection& connection;
    const std::uint8_t* packet;
    SyncCommands* waiting;   // the synchronous object whose wait an answer or a result may end
    SyncCommands* troubled;  // the one whose wait is ended by errors, the server's closing and broken frames
    SyncCommands* sync;
    AsyncCommands* async;
  };

  SyncCommands* object_in_trouble(const connection::Connection& connection) const;
  // Whether what came for this request ends the wait of a call.
  bool ends_wait(const Delivery& delivery, connection::PendingRequests::Ticket request) const;
  void deliver(const Delivery& delivery, std::int32_t type);
  void on_malformed(const Delivery& delivery, std::int32_t type);
  void on_answer(const Delivery& delivery);
  void on_error(const Delivery& delivery);
  void on_single_point(const Delivery& delivery, bool extended);
  void on_probe_result(const Delivery& delivery);
  void on_tiltra_result(const Delivery& delivery);
  void on_status_change(const Delivery& delivery);
  void on_data(const Delivery& delivery, std::int32_t sync_event, std::int32_t async_event);

  // True when a call took the result.
  bool end_wait_by_result(const Delivery& delivery, connection::PendingRequests::Result result, std::int32_t command);
  void end_wait_by_answer(const Delivery& delivery, std::int32_t command, std::int32_t status);
  void fire_answer_events(const Delivery& delivery, std::int32_t command, std::int32_t status);
  bool is_good_or_reported(std::int32_t command, std::int32_t status);
  void report_bad_answer(std::int32_t command, std::int32_t status);

  Generation& generation_;
};

}  // namespace kestrine::dispatch
