// Packets over a real socket: cut, delayed, too large, out of step, more than fit.
#include "stream_test.h"

#include <chrono>

namespace kestrine::test {
namespace {

using namespace std::chrono_literals;

TEST_F(StreamTest, APacketCutAnywhereArrivesWhole) {
  start();
  std::size_t sent = 0;
  for (const Bytes& whole : {answer(VL_C_GoBirdBath, 0), filled(36, VL_DT_ReflectorPosResult)}) {
    for (std::size_t at = 1; at < whole.size(); ++at) {
      const auto [first, rest] = cut(whole, at);
      if (at < 8) {
        peer.send(first);
        ASSERT_TRUE(takes_all()) << at;
        peer.send(rest);
      } else {
        peer.send_in_pieces({first, rest}, 3ms);  // the handler waits for the rest
      }
      ASSERT_TRUE(arrives(++sent)) << at;
      EXPECT_EQ(packets.back(), whole) << at;
    }
  }
  EXPECT_EQ(environment.trace_keys(), Lines{"recv6"}) << "for the fragments that are no size field";
  EXPECT_EQ(environment.trace("recv6"), "unecpected packet boundary (peek)");
}

TEST_F(StreamTest, APacketThatComesInManyPiecesArrivesWhole) {
  start();
  const Bytes whole = filled(40, VL_DT_TiltraResult);
  std::vector<Bytes> pieces{Bytes(whole.begin(), whole.begin() + 9)};
  for (std::size_t i = 9; i < whole.size(); ++i) pieces.push_back({whole[i]});
  peer.send_in_pieces(pieces, 1ms);
  EXPECT_TRUE(arrives(1));
  EXPECT_EQ(packets, std::vector<Bytes>{whole});
}

TEST_F(StreamTest, LargePacketsArriveInOrder) {
  start();
  std::vector<Bytes> all;
  Bytes stream;
  for (const std::int32_t size : {65'535, 65'536, 65'540, 131'071, 16, 100'000}) {
    all.push_back(filled(size, size == 16 ? VL_DT_Command : VL_DT_MultiMeasResult));
    stream = stream + all.back();
  }
  peer.run([&](ScriptedPeer& server) { server.send(stream); });
  EXPECT_TRUE(arrives(all.size()));
  EXPECT_TRUE(packets == all);
  EXPECT_EQ(data(), all.back());
}

TEST_F(StreamTest, AFullReceiveBufferThatEndsInAHeaderRecovers) {
  start();
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
  connection->notification.method = KR_NM_None;
  peer.run([&](ScriptedPeer& server) { server.send(std::span(stream).subspan(fitted)); });
  EXPECT_TRUE(pump_until([&] { return packets.size() == kPackets; }, 30s)) << packets.size();
  bool in_order = true;
  for (std::size_t i = 0; i < packets.size(); ++i) in_order &= get_i32(packets[i], 8) == static_cast<std::int32_t>(i);
  EXPECT_TRUE(in_order);
  EXPECT_EQ(environment.trace("recv4"), "");
}

TEST_F(StreamTest, WhatCannotBeAPacketIsThrownAwayAndTheStreamGoesOn) {
  start();
  Bytes seven = answer(VL_C_GoBirdBath, 0);
  put_i32(seven, 0, 7);
  const Bytes garbage(300, 0xA5);
  std::size_t good = 0;
  for (const Bytes& bad : {seven, garbage, filled(16, -1), filled(1'024, VL_DT_SystemStatusChange),
                           filled(1'500, VL_DT_ReflectorPosResult), filled(131'072, VL_DT_Command)}) {
    SCOPED_TRACE(testing::Message() << bad.size() << " bytes of type " << get_i32(bad, 4));
    environment.beeps.clear();
    engine().MarkAnswerPending(VL_C_GoBirdBath, true);
    peer.run([&](ScriptedPeer& server) { server.send(bad); });
    EXPECT_TRUE(beeps(250));
    peer.finish();
    EXPECT_TRUE(takes_all());
    EXPECT_FALSE(engine().IsAnswerPending());
    EXPECT_EQ(packets.size(), good);
    peer.send(answer(VL_C_GoBirdBath, 0));
    EXPECT_TRUE(arrives(++good));
  }
  EXPECT_EQ(environment.trace_keys(), Lines{"recv4"});
  EXPECT_EQ(environment.trace("recv4"), "unknown socket reading error");
}

TEST_F(StreamTest, AWaitingCallEndsWhenTheStreamIsOutOfStep) {
  start();
  peer.serve([](const Bytes&) { return Bytes(64, 0xFF); });
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(told(commands->GoBirdBath()),
            "80004005 36 Kestrine.LTConnect.1: [54] \"Go Bird Bath\" failed  (status:  Unknown status)");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s) << "not only at the timeout";
}

TEST_F(StreamTest, RequestsAndAnswersFollowEachOtherWithoutDelay) {
  start();
  // Reading a request in two steps makes a peer hold back what would release small writes that wait for more.
  peer.run([](ScriptedPeer& server) {
    for (int i = 0; i < 20; ++i) {
      server.receive(4);
      server.receive(8);
      server.send(answer(VL_C_GoBirdBath, 0));
    }
  });
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < 20; ++i) ASSERT_EQ(commands->GoBirdBath(), S_OK);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 500ms);
}

TEST_F(StreamTest, WithoutEarlyWakeACallLooksEveryTenMilliseconds) {
  start();
  host::set_early_wake(false);
  peer.serve([](const Bytes&) { return answer(VL_C_GoBirdBath, 0); });
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < 5; ++i) ASSERT_EQ(commands->GoBirdBath(), S_OK);
  const auto time = std::chrono::steady_clock::now() - begin;
  EXPECT_GE(time, 50ms);
  EXPECT_LT(time, 1s);
}

}  // namespace
}  // namespace kestrine::test
