// The server over real sockets.
#include <asio.hpp>
#include <chrono>

#include "bench.h"
#include "kestrine/simulator.h"

namespace kestrine::simulator {
namespace {
// A client that knows packets and nothing else.
class RawClient {
 public:
  explicit RawClient(std::uint16_t port, int buffers = 0) {
    socket_.open(asio::ip::tcp::v4());
    if (buffers) {
      socket_.set_option(asio::socket_base::receive_buffer_size(buffers));
      socket_.set_option(asio::socket_base::send_buffer_size(buffers));
    }
    socket_.connect({asio::ip::address_v4::loopback(), port});
  }

  void send(const void* bytes, std::size_t size) { asio::write(socket_, asio::buffer(bytes, size)); }
  // Asks the same so many times in one go.
  void send(const protocol::Request& request, int times = 1) {
    Bytes many;
    for (int i = 0; i < times; ++i)
      many.insert(many.end(), request.bytes.begin(), request.bytes.begin() + request.size);
    send(many.data(), many.size());
  }
  // Empty once the server has closed.
  Bytes receive() {
    Bytes packet(8);
    if (!read(packet.data(), 8)) return {};
    packet.resize(wire::load_u32(packet.data()));
    if (!read(packet.data() + 8, packet.size() - 8)) return {};
    return packet;
  }
  // Answers in the order of their coming, past everything else.
  Bytes answer() {
    for (;;) {
      Bytes packet = receive();
      if (packet.empty() || type_of(packet) <= VL_DT_Error) return packet;
    }
  }
  std::int32_t status(const protocol::Request& request) {
    send(request);
    const Bytes packet = answer();
    return packet.empty() ? -1 : status_of(packet);
  }
  void start_stream(std::int32_t separation, std::int32_t count, int region = 0) {
    for (const auto& request :
         {build_Initialize(), build_SetContinuousTimeModeParams(separation, count, region, VL_RT_Sphere),
          build_SetMeasurementMode(VL_MM_ContinuousTime), build_StartMeasurement()})
      EXPECT_EQ(status(request), VL_RS_AllOK);
  }
  void listen() { EXPECT_EQ(status(set_system_settings(told(true))), VL_RS_AllOK); }

 private:
  bool read(std::uint8_t* into, std::size_t size) {
    asio::error_code closed;
    return asio::read(socket_, asio::buffer(into, size), closed) == size;
  }

  asio::io_context context_;
  asio::ip::tcp::socket socket_{context_};
};

TEST(Server, AnswersInTheOrderOfAskingHoweverLongEachTakes) {
  const Simulator simulator({.time_scale = 0.1});
  RawClient client(simulator.port());
  for (const auto& request : {build_Initialize(), build_GetUnits(), build_GoBirdBath(), build_GetFace()})
    client.send(request);
  for (const VL_Command command : {VL_C_Initialize, VL_C_GetUnits, VL_C_GoBirdBath, VL_C_GetFace}) {
    const Bytes packet = client.answer();
    ASSERT_GE(packet.size(), 16u);
    EXPECT_EQ((Codes{code_of(packet), status_of(packet)}), (Codes{command, VL_RS_AllOK}));
  }
}

TEST(Server, DropsWhatWaitsInAQueueThatIsCleared) {
  const Simulator simulator({.time_scale = 0.5});
  RawClient client(simulator.port());
  for (const auto& request : {build_Initialize(), build_GetUnits(), build_ClearCommandQueue(VL_CCQ_ClearOwnOnly)})
    client.send(request);
  for (const VL_Command command : {VL_C_Initialize, VL_C_ClearCommandQueue})
    EXPECT_EQ(code_of(client.answer()), command);
}

TEST(Server, TakesRequestsInAnyPieces) {
  const Simulator simulator({.time_scale = 0});
  RawClient client(simulator.port());
  const protocol::Request request = build_SetUnits(VL_LU_Inch, VL_AU_Gon, VL_TU_Celsius, VL_PU_Psi, VL_HU_RH);
  for (std::size_t i = 0; i < request.size; ++i) client.send(&request.bytes[i], 1);
  EXPECT_EQ(client.answer().size(), 16u);
  client.send(build_GetUnits(), 500);
  for (int i = 0; i < 500; ++i) ASSERT_EQ(client.answer().size(), 36u) << i;
}

TEST(Server, HangsUpOnALyingSizeAndServesTheOthers) {
  const Simulator simulator({.time_scale = 0});
  RawClient honest(simulator.port());
  for (const std::int32_t size : {0, 11, 4097, 0x7fffffff, -1}) {
    RawClient liar(simulator.port());
    std::uint8_t head[12]{};
    wire::store_i32(head, size);
    liar.send(head, sizeof head);
    EXPECT_TRUE(liar.receive().empty()) << size;
    EXPECT_EQ(honest.status(build_GetUnits()), VL_RS_AllOK);
  }
}

TEST(Server, SharesOneTrackerBetweenClientsAndSendsResultsToTheStarter) {
  const Simulator simulator({.time_scale = 0});
  RawClient first(simulator.port());
  RawClient second(simulator.port());
  EXPECT_EQ(first.status(build_Initialize()), VL_RS_AllOK);
  EXPECT_EQ(second.status(build_SetReflector(3)), VL_RS_AllOK);
  first.send(build_GetReflector());
  EXPECT_EQ(wire::load_i32(first.answer().data() + 16), 3);
  EXPECT_EQ(second.status(build_StartMeasurement()), VL_RS_AllOK);
  EXPECT_EQ(type_of(second.receive()), VL_DT_SingleMeasResult);
  first.send(build_GetFace());
  EXPECT_EQ(wire::load_i32(first.receive().data() + 8), VL_C_GetFace);  // and nothing before it
}

TEST(Server, HoldsAStreamBackForAStalledReaderAndLosesNothing) {
  const Simulator simulator({.time_scale = 0, .block_points = 1000});
  constexpr int kSmallBuffer = 16 * 1024;
  RawClient client(simulator.port(), kSmallBuffer);
  client.start_stream(1, 300000);
  // Another client is served while the first one reads nothing, with some ten megabytes to come.
  RawClient other(simulator.port());
  for (int i = 0; i < 200; ++i) ASSERT_EQ(other.status(build_GetUnits()), VL_RS_AllOK);
  std::int64_t next = 0;
  while (next < 300000) {
    const Bytes packet = client.receive();
    ASSERT_EQ(type_of(packet), VL_DT_MultiMeasResult);
    ASSERT_EQ(packet.size(), 36048u);
    const auto last = read_as<MeasValueT>(packet.data() + packet.size() - 36);
    next += 1000;
    ASSERT_EQ(last.lTime1 * std::int64_t{1000} + last.lTime2 / 1000, next - 1);
  }
  EXPECT_EQ(other.status(build_StartMeasurement()), VL_RS_AllOK);
}

TEST(Server, GoesOnServingWhileAStreamLooksForPointsInAnEmptyRegion) {
  const Simulator simulator({.time_scale = 0});
  RawClient client(simulator.port());
  client.status(build_SetSphereRegionParams(0, 0, 0, 0.1));
  client.start_stream(0, 0, 1);
  EXPECT_EQ(client.status(build_GetUnits()), VL_RS_AllOK);
  EXPECT_EQ(client.status(build_StopMeasurement()), VL_RS_AllOK);
}

TEST(Server, LetsAClientGoThatNeverTakesItsStatusChanges) {
  const Simulator simulator({.time_scale = 0});
  constexpr int kSmallBuffer = 4 * 1024;
  RawClient silent(simulator.port(), kSmallBuffer);
  silent.listen();
  RawClient busy(simulator.port());
  constexpr int kRounds = 150;
  for (int round = 0; round < kRounds; ++round) {
    busy.send(build_SetReflector(1), 1000);
    for (int i = 0; i < 1000; ++i) ASSERT_EQ(busy.answer().size(), 16u);
  }
  int changes = 0;
  while (!silent.receive().empty()) ++changes;
  EXPECT_LT(changes, 1000 * kRounds);
}

TEST(Server, SaysGoodbyeToThoseWhoAskedAndCloses) {
  auto simulator = std::make_unique<Simulator>(Options{.time_scale = 0});
  RawClient asking(simulator->port());
  RawClient silent(simulator->port());
  asking.listen();
  silent.status(build_GetUnits());
  simulator.reset();
  Codes heard;
  for (Bytes packet = asking.receive(); !packet.empty(); packet = asking.receive()) heard.push_back(code_of(packet));
  EXPECT_EQ(heard, (Codes{VL_SSC_SystemSettingsChanged, VL_SSC_ServerClosing}));
  EXPECT_TRUE(silent.receive().empty());
}

TEST(Server, EndsPromptlyWithAStreamUnderWayAndNobodyReading) {
  auto simulator = std::make_unique<Simulator>(Options{.time_scale = 0});
  RawClient client(simulator->port());
  client.start_stream(0, 0);
  const auto before = std::chrono::steady_clock::now();
  simulator.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(2));
}

}  // namespace
}  // namespace kestrine::simulator
