// The simulator's request side: the bytes of two clients, cut as the input says, while time goes on.
#include <fuzzer/FuzzedDataProvider.h>

#include "simulator/server/session.h"
#include "tests/simulator/bench.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kestrine::simulator;
  FuzzedDataProvider input(data, size);
  asio::io_context context{1};
  Bench bench({});
  using Socket = asio::local::stream_protocol::socket;
  Socket clients[] = {Socket(context), Socket(context)};
  for (auto& client : clients) {
    Socket server(context);
    asio::local::connect_pair(client, server);
    client.non_blocking(true);
    std::make_shared<Session>(asio::ip::tcp::socket(context, asio::ip::tcp::v4(), server.release()), bench.tracker)
        ->start();
  }
  asio::error_code ignored;
  while (input.remaining_bytes() > 0) {
    const auto action = input.ConsumeIntegral<std::uint8_t>();
    const double seconds = input.ConsumeIntegral<std::uint16_t>() % 10'000 / 1000.0;
    const auto bytes = input.ConsumeBytes<char>(input.ConsumeIntegral<std::uint16_t>());
    auto& client = clients[action & 1];
    client.write_some(asio::buffer(bytes), ignored);
    context.poll();
    bench.scheduler.advance(seconds);
    context.poll();
    static char answers[1 << 20];
    while ((action & 2) == 0 && client.read_some(asio::buffer(answers), ignored) > 0) continue;
  }
  for (auto& client : clients) client.close();
  context.poll();
  if (bench.tracker.clients().size() > 1) std::abort();  // the bench has one of its own
  return 0;
}
