// The way between library and server over a real socket: packets cut, broken off, more than fit, and the messages of
// the hidden window.
#include "connection/channel.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "environment.h"
#include "kestrine/host.h"
#include "scripted_peer.h"

namespace kestrine::test {
namespace {

using namespace std::chrono_literals;
using Lines = std::vector<std::string>;

class ChannelTest : public testing::Test, private connection::ConnectionEvents {
 protected:
  ChannelTest() {
    environment.set(u"NonblockingConnect", 0);
    EXPECT_EQ(channel.connect(client, "127.0.0.1", peer.port()), nullptr);
    peer.accept();
  }
  ~ChannelTest() override {
    peer.close();
    client.link().close(channel.window());
  }

  bool arrives(std::size_t count) {
    return pump_until([&] { return packets.size() >= count; }, 30s);
  }
  std::int64_t send(std::uint32_t message, std::int64_t lparam = 0) {
    return platform::send_message(channel.window(), message, 0, lparam);
  }

  class Client final : public connection::Connection {
   public:
    using Connection::Connection;
    IUnknown* unknown() override { return nullptr; }
  };

  Environment environment;
  ScriptedPeer peer;
  Client client{*this};
  connection::Channel channel{client};
  std::vector<Bytes> packets;
  Lines others;  // what else has happened
  bool somebody_flushes = true;

 private:
  void on_packet(connection::Connection&, const connection::ReceivedPacket& packet) override {
    packets.emplace_back(packet.bytes, packet.bytes + packet.length);
  }
  void on_out_of_step() override { others.push_back("out of step"); }
  void on_closed(connection::Connection&) override { others.push_back("closed"); }
  void on_timer(connection::Connection&) override { others.push_back("timer"); }
  bool on_flush() override {
    others.push_back("flush");
    return somebody_flushes;
  }
};

TEST_F(ChannelTest, APacketCutAnywhereArrivesWhole) {
  std::size_t sent = 0;
  for (const Bytes& whole : {answer(VL_C_GoBirdBath, 0), filled(36, VL_DT_ReflectorPosResult)}) {
    for (std::size_t at = 1; at < whole.size(); ++at) {
      const auto [first, rest] = cut(whole, at);
      peer.send_in_pieces({first, rest});
      ASSERT_TRUE(arrives(++sent)) << at;
      EXPECT_EQ(packets.back(), whole) << at;
    }
  }
  EXPECT_EQ(environment.trace_keys(), Lines{"recv6"}) << "for the fragments that are no size field";
  EXPECT_EQ(environment.trace("recv6"), "unecpected packet boundary (peek)");
}

TEST_F(ChannelTest, AFullReceiveBufferThatEndsInAHeaderRecovers) {
  // Twelve-byte packets: two cuts out of three fall into a header.
  constexpr std::int32_t kPackets = 60'000;
  Bytes stream(12 * static_cast<std::size_t>(kPackets));
  for (std::int32_t i = 0; i < kPackets; ++i) {
    const Bytes one = status_change(i);
    std::copy(one.begin(), one.end(), stream.begin() + 12 * i);
  }
  peer.set_send_buffer(16'384);
  const std::size_t fitted = peer.send_what_fits(stream);
  ASSERT_LT(fitted, stream.size()) << "the buffers of the system take more than this test sends";
  peer.run([&](ScriptedPeer& server) { server.send(std::span(stream).subspan(fitted)); });
  EXPECT_TRUE(arrives(kPackets)) << packets.size();
  bool in_order = true;
  for (std::size_t i = 0; i < packets.size(); ++i) in_order &= get_i32(packets[i], 8) == static_cast<std::int32_t>(i);
  EXPECT_TRUE(in_order);
  EXPECT_EQ(environment.trace("recv4"), "");
}

TEST_F(ChannelTest, AServerThatLeavesInMidPacketHangsNobody) {
  for (const bool in_good_order : {true, false}) {
    if (!in_good_order) {
      client.link().close(channel.window());
      EXPECT_EQ(channel.connect(client, "127.0.0.1", peer.port()), nullptr);
      peer.accept();
    }
    others.clear();
    environment.beeps.clear();
    const Bytes most = cut(filled(36, VL_DT_ReflectorPosResult), 20).first;
    peer.send(answer(VL_C_GoBirdBath, 0));
    ASSERT_TRUE(arrives(1));
    peer.send(status_change(26) + most);
    in_good_order ? peer.close() : peer.reset();
    ASSERT_TRUE(pump_until([&] { return !others.empty() && others.back() == "closed"; }));
    EXPECT_EQ(others, Lines({"out of step", "closed"}));
    EXPECT_EQ(packets, (std::vector<Bytes>{answer(VL_C_GoBirdBath, 0), status_change(26)})) << "what came before";
    packets.clear();
    EXPECT_TRUE(std::ranges::equal(client.buffers().latest(), most)) << "what was read stays readable";
    EXPECT_EQ(environment.trace("recv4"), "unknown socket reading error");
    EXPECT_EQ(environment.trace("recv3"), in_good_order ? "" : "unknown socket reading error");
    EXPECT_EQ(std::ranges::count(environment.beeps, Environment::Beep(250, 10)), 1);
    EXPECT_EQ(environment.beeps.back(), Environment::Beep(1'000, 200));
  }
}

TEST_F(ChannelTest, AServerThatLeavesInMidHeaderSpoilsNoLaterConnection) {
  const Bytes whole = answer(VL_C_GoBirdBath, 0);
  for (const std::size_t count : {3u, 4u, 7u}) {
    others.clear();
    packets.clear();
    peer.send(cut(whole, count).first);
    peer.close();
    EXPECT_TRUE(pump_until([&] { return others == Lines{"closed"}; })) << count;
    EXPECT_EQ(packets.size(), 0u);
    client.link().close(channel.window());
    EXPECT_EQ(channel.connect(client, "127.0.0.1", peer.port()), nullptr);
    peer.accept();
    peer.send(whole);
    EXPECT_TRUE(arrives(1)) << count;
  }
}

TEST_F(ChannelTest, MessagesOfTheWindowReachWhoeverIsResponsible) {
  using connection::kFlushMessage, connection::kSocketMessage;
  channel.request_flush();
  EXPECT_TRUE(pump_until([&] { return others == Lines{"flush"}; }));
  EXPECT_EQ(send(kFlushMessage), 1);
  EXPECT_TRUE(environment.beeps.empty());
  somebody_flushes = false;
  EXPECT_EQ(send(kFlushMessage), 0);
  EXPECT_EQ(environment.beeps, (std::vector<Environment::Beep>{{2000, 5000}}));
  others.clear();
  EXPECT_EQ(send(kSocketMessage, platform::kSocketClosed), 1);
  EXPECT_EQ(send(kSocketMessage, 0x77), 0) << "an event that is none";
  EXPECT_EQ(send(kSocketMessage + 100), 0);
  EXPECT_EQ(others, Lines({"closed", "out of step"}));
  channel.forget(client);
  EXPECT_EQ(send(kFlushMessage), 0);
  EXPECT_EQ(others.size(), 2u) << "nobody is responsible any more";
}

TEST_F(ChannelTest, ATimerGoesOffOnceUnlessItIsStopped) {
  channel.start_timer(49, 1);
  channel.start_timer(50, 1);
  channel.stop_timer(50);
  EXPECT_TRUE(pump_until([&] { return !others.empty(); }));
  EXPECT_FALSE(platform::kill_timer(channel.window(), 49));
  EXPECT_EQ(others, Lines{"timer"});
  channel.start_timer(51, 1);
  channel.forget(client);
  connection::Channel later(client);
  later.start_timer(52, 2);
  EXPECT_TRUE(pump_until([&] { return others.size() == 2; }));
  EXPECT_FALSE(platform::kill_timer(channel.window(), 51)) << "no timer stays behind without a connection";
  EXPECT_EQ(others, Lines({"timer", "timer"}));
}

}  // namespace
}  // namespace kestrine::test
