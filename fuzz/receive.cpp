// The receive path and the dispatcher: packets out of bytes that come cut as the input says, and what becomes of them
// with sinks on both event interfaces, in both behaviours. Before each piece the application does something.
#include <fuzzer/FuzzedDataProvider.h>

#include "client_test.h"
#include "tests/connection/fake_source.h"

namespace kestrine::test {
namespace {

class Receiver final : ClientTest, connection::PacketConsumer {
 public:
  explicit Receiver(const connection::Rules& rules) : ClientTest(rules) { make(kBoth); }

  void receive(FuzzedDataProvider input) {
    FakeSource source;
    connection::PacketReader reader(source, *this);
    do {
      const auto action = input.ConsumeIntegral<std::uint8_t>();
      act(action, input.ConsumeIntegral<std::uint16_t>());
      source.script.push_back({.bytes = input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegral<std::uint16_t>())});
      source.leaves_parts = process.rules().takes_whole_packets && input.remaining_bytes() > 0;
      source.patience = source.naps + 9;
      if ((action & 0x10) == 0) reader.on_readable(connection->buffers());
      data();
      heard();
    } while (input.remaining_bytes() > 0 || !source.script.empty());
    engine().cancel_wait();
    engine().fire_deferred_events();
    connection->requests().clear();
  }

 private:
  void TestBody() override {}
  void on_packet(const connection::ReceivedPacket& packet) override {
    connection->events().on_packet(*connection, packet, generation.window());
  }
  void on_out_of_step() override { connection->events().on_out_of_step(); }

  // Switches that an application has, and a call that waits.
  void act(std::uint8_t action, std::int32_t command) {
    connection->put_SupportLegacyStationaryMode(action & 1);
    connection->SelectNotificationMethod((action & 2) != 0 ? KR_NM_None : KR_NM_Event, 0, 0);
    connection->measurement().set_mode((action >> 2) & 3);
    if ((action & 0x80) == 0) return;
    engine().begin_wait(command);
    connection->requests().add(command, connection::PendingRequests::Result((action >> 5) % 3), true, {});
  }
};

}  // namespace
}  // namespace kestrine::test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static kestrine::test::Receiver classic(kestrine::connection::kClassicRules);
  static kestrine::test::Receiver modern(kestrine::connection::kModernRules);
  for (auto* each : {&classic, &modern}) each->receive(FuzzedDataProvider(data, size));
  return 0;
}
