// The single consumer of complete packets and timer expiries: it records the status, ends waits and turns every
// packet into its events.
#pragma once

#include <cstdint>

#include "protocol/catalogue.h"
#include "transport/connection.h"
#include "transport/slots.h"

namespace kestrine::async {

class Dispatcher final : public transport::PacketConsumer {
 public:
  explicit Dispatcher(transport::Slots& slots) : slots_(slots) {}

  // `packet` is null when a command's timer has expired. Reads within the buffer's `capacity` bytes only.
  void DispatchPacket(transport::CLTConnectBase& connection, const std::uint8_t* packet, std::int32_t capacity,
                      std::int32_t byte_count) override;

 private:
  // One packet on its way, with the objects that its events go to; null where an interface gets none.
  struct Delivery {
    transport::CLTConnectBase& connection;
    const std::uint8_t* packet;
    transport::SyncCommands* linked;  // the synchronous object whose wait the packet may end
    transport::SyncCommands* sync;
    transport::AsyncCommands* async;
  };

  void deliver(const Delivery& delivery, std::int32_t type);
  void on_timer(const Delivery& delivery);
  void on_malformed(const Delivery& delivery, std::int32_t type);
  void on_answer(const Delivery& delivery);
  void on_error(const Delivery& delivery);
  void on_single_point(const Delivery& delivery, bool extended);
  void on_probe_result(const Delivery& delivery);
  void on_tiltra_result(const Delivery& delivery);
  void on_status_change(const Delivery& delivery);
  void on_data(const Delivery& delivery, std::int32_t sync_event, std::int32_t async_event);

  void release_after_answer(const Delivery& delivery, std::int32_t command, std::int32_t status);
  void fire_answer_events(const Delivery& delivery, std::int32_t command, std::int32_t status);
  bool CheckAnswerStatus(std::int32_t command, std::int32_t status);
  void report_bad_answer(std::int32_t command, std::int32_t status);

  transport::Slots& slots_;
};

}  // namespace kestrine::async
