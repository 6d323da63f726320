// The rules of reading, one notification at a time, from a source that says exactly what it is told to.
#include "fake_source.h"

#include <gtest/gtest.h>

namespace kestrine::test {
namespace {

const std::string kRecv1 = "recv1 not able to get header (peek)";
const std::string kRecv2 = "recv2 gave up after 30 retries (peek)";
const std::string kRecv3 = "recv3 unknown socket reading error";
const std::string kRecv4 = "recv4 unknown socket reading error";
const std::string kRecv6 = "recv6 unecpected packet boundary (peek)";
const std::string kSocketBeep = "beep 1000 200";
const std::string kDiscardBeep = "beep 250 10";

class PacketReaderTest : public testing::Test, private connection::PacketConsumer {
 protected:
  bool read(const Script& script = {}) {
    source.script.insert(source.script.end(), script.begin(), script.end());
    return reader.on_readable(buffers);
  }
  void read_without_a_header(int times) {
    for (int i = 0; i < times; ++i) EXPECT_TRUE(read());
  }
  // Reads once: whether the stream stays in step, what packets there are by now, and what is kept of the latest.
  void expect_read(const Script& script, bool in_step, const std::vector<Bytes>& all, const Bytes& kept) {
    EXPECT_EQ(read(script), in_step);
    EXPECT_EQ(packets, all);
    EXPECT_TRUE(std::ranges::equal(buffers.latest(), kept));
    EXPECT_EQ(out_of_step, in_step ? 0 : 1);
    EXPECT_EQ(std::ranges::count(source.signs, kRecv4), out_of_step);
    EXPECT_EQ(std::ranges::count(source.signs, kDiscardBeep), out_of_step);
  }
  void start_over() {
    source = {};
    packets.clear();
    buffers.set_latest({});
    out_of_step = 0;
  }

  FakeSource source;
  connection::ReceiveBuffers buffers;
  connection::PacketReader reader{source, *this};
  std::vector<Bytes> packets;
  std::int32_t capacity = 0;  // of the last one
  int out_of_step = 0;

 private:
  void on_packet(const connection::ReceivedPacket& packet) override {
    packets.emplace_back(packet.bytes, packet.bytes + packet.length);
    capacity = packet.capacity;
  }
  void on_out_of_step() override { ++out_of_step; }
};

TEST_F(PacketReaderTest, OnePacketIsReadForOneNotificationByOnePeekAndOneRead) {
  const Bytes first = filled(16, VL_DT_Command);
  const Bytes second = filled(36, VL_DT_ReflectorPosResult);
  expect_read({{first + second}}, true, {first}, first);
  expect_read({}, true, {first, second}, second);
  EXPECT_EQ(source.peeks, (std::vector{8, 8}));
  EXPECT_EQ(source.reads, (std::vector{16, 36}));
}

TEST_F(PacketReaderTest, AHeaderInTwoPiecesSurvivesWhereverItIsCut) {
  const Bytes sent = filled(36, VL_DT_ReflectorPosResult);
  for (std::size_t at = 1; at < 8; ++at) {
    SCOPED_TRACE(at);
    start_over();
    const auto [first, rest] = cut(sent, at);
    EXPECT_TRUE(read({{first}}));
    EXPECT_TRUE(source.script.empty()) << "a fragment left in the socket could keep the peer from sending the rest";
    EXPECT_EQ(source.signs, at == 4 ? Lines() : Lines({kSocketBeep, kRecv6}));
    expect_read({{rest}}, true, {sent}, sent);
    const int left = static_cast<int>(8 - at);
    EXPECT_EQ(source.peeks, (std::vector{8, 8 - static_cast<int>(at)}));
    EXPECT_EQ(source.reads, (std::vector{static_cast<int>(at), left + 28}));
  }
}

TEST_F(PacketReaderTest, ANewStreamBeginsAnew) {
  const Bytes sent = filled(16, VL_DT_Command);
  EXPECT_TRUE(read({{cut(sent, 2).first}}));
  read_without_a_header(28);
  reader.restart();
  read_without_a_header(29);
  EXPECT_TRUE(read({{sent}}));
  EXPECT_EQ(packets, std::vector<Bytes>{sent});
}

TEST_F(PacketReaderTest, TheThirtiethPeekWithoutAHeaderGivesUp) {
  read_without_a_header(29);
  EXPECT_EQ(source.signs, Lines());
  EXPECT_EQ(source.naps, 29);
  EXPECT_FALSE(read());
  EXPECT_EQ(source.signs, Lines({kRecv2, kRecv4, kDiscardBeep}));
  read_without_a_header(29);  // counting starts again
  EXPECT_FALSE(read({{{16, 0, 0, 0}}})) << "what the last peek holds is dropped with the rest";
  EXPECT_TRUE(read({{filled(16, VL_DT_Command)}}));
  EXPECT_EQ(packets.size(), 1u);
  read_without_a_header(29);  // a whole header has ended the count
}

TEST_F(PacketReaderTest, APeekThatFailsIsASignOfTroubleOnlyOnAnOpenConnection) {
  EXPECT_TRUE(read({none(kEnd)}));
  EXPECT_EQ(source.naps, 0);
  source.open = false;
  EXPECT_TRUE(read({none(kError)}));
  EXPECT_EQ(source.signs, Lines());
  source.open = true;
  EXPECT_TRUE(read({none(kError)}));
  EXPECT_EQ(source.signs, Lines({kSocketBeep, kRecv1}));
  EXPECT_EQ(source.naps, 2);
}

TEST_F(PacketReaderTest, APacketIsGivenUpAfterSixtyFourReadsAndWhatCameStays) {
  const Bytes sent = filled(16, VL_DT_Command);
  const auto [header, body] = cut(sent, 8);
  const auto [size, type] = cut(header, 4);
  const auto [most, rest] = cut(sent, 12);
  const Bytes longest = filled(7 + 64, VL_DT_MultiMeasResult);
  const Bytes too_long = filled(7 + 65, VL_DT_MultiMeasResult);
  const struct {
    Bytes held;  // of the header, from the notification before
    Script script;
    int errors;
    int naps;
    bool in_step;
    std::vector<Bytes> packets;
    Bytes left;
  } rows[] = {
      {{}, {{cut(longest, 8).first}, {cut(longest, 8).second, 1}}, 0, 47, true, {longest}, longest},
      // Even when the last read brings the end.
      {{}, {{cut(too_long, 8).first}, {cut(too_long, 8).second, 1}}, 0, 49, false, {}, too_long},
      {{}, {seen(header), none(kError, 63), {sent}}, 63, 63, true, {sent}, sent},
      // Nothing was read before the last attempt: nothing is kept of it.
      {{}, {seen(header), none(kError, 64), {sent}}, 64, 64, true, {}, {}},
      {size, {seen(type), none(kError, 65)}, 65, 66, false, {}, size},
      {{}, {{most}, none(kError, 62), {rest}}, 62, 62, true, {sent}, sent},
      {{}, {{most}, none(kError, 64)}, 64, 65, false, {}, most},
      // Waiting is not counted; a peer that has gone is.
      {{}, {{most}, none(kWouldBlock, 5'000), none(kEnd, 10'000)}, 0, 5'065, false, {}, most},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    start_over();
    if (!row.held.empty()) {
      EXPECT_TRUE(read({{row.held}}));
    }
    expect_read(row.script, row.in_step, row.packets, row.left);
    EXPECT_EQ(source.naps, row.naps);
    EXPECT_EQ(std::ranges::count(source.signs, kRecv3), row.errors);
  }
}

TEST_F(PacketReaderTest, TheNapsForTheRestOfAPacketGrowAndEndWhenTheyAreGivenUp) {
  const auto [most, rest] = cut(filled(16, VL_DT_Command), 12);
  source.patience = 7;
  expect_read({{most}, none(kWouldBlock, 100)}, false, {}, most);
  EXPECT_EQ(source.longest_nap, 16);
  EXPECT_EQ(std::ranges::count(source.signs, kRecv3), 0);
}

TEST_F(PacketReaderTest, AHeaderIsBadWhenItsPacketDoesNotFitTheBufferOfItsType) {
  struct Row {
    std::int32_t size;
    std::int32_t type;
    bool valid;
  };
  std::vector<Row> rows = {
      {7, VL_DT_Command, false}, {-1, VL_DT_Command, false}, {8, VL_DT_Command, true}, {16, -1, false}};
  for (std::int32_t type = VL_DT_Command; type <= VL_DT_ProbePosResult + 1; ++type) {
    const bool small = type == VL_DT_Error || type == VL_DT_TiltraResult || type == VL_DT_ReflectorPosResult ||
                       type == VL_DT_ProbePosResult || type == VL_DT_SystemStatusChange;
    const std::int32_t room = small ? 1'024 : 131'072;
    rows.insert(rows.end(), {{room - 1, type, true}, {room, type, false}});
  }
  for (const auto& [size, type, valid] : rows) {
    SCOPED_TRACE(testing::Message() << size << " bytes of type " << type);
    start_over();
    Bytes bytes = filled(std::max(size, 16), type);
    put_i32(bytes, 0, size);
    if (valid) bytes.resize(static_cast<std::size_t>(size));
    expect_read({{bytes}}, valid, std::vector<Bytes>(valid ? 1 : 0, bytes), valid ? bytes : Bytes());
    EXPECT_TRUE(source.script.empty());
    EXPECT_TRUE(size < 1'000 || !valid || capacity == size + 1) << capacity;
  }
}

TEST_F(PacketReaderTest, ThrowingAwayStopsAfterOneHundredAndTwentyEightReadsThoseForThePacketCounted) {
  source.endless = true;
  EXPECT_FALSE(read({{cut(filled(36, VL_DT_ReflectorPosResult), 20).first}, none(kError, 64)}));
  EXPECT_EQ(source.reads.size(), 128u);
  EXPECT_EQ(source.reads.back(), 1'024);
}

// Numbers the buffers in the order in which types need them.
TEST(ReceiveBuffersTest, KindsOfPacketsShareABufferOrHaveOneOfTheirOwn) {
  connection::ReceiveBuffers buffers;
  std::vector<const std::uint8_t*> seen;
  std::vector<std::ptrdiff_t> places;
  for (std::int32_t type = VL_DT_Command; type <= VL_DT_ProbePosResult + 1; ++type) {
    const std::uint8_t* const bytes = buffers.for_type(type).bytes;
    places.push_back(std::ranges::find(seen, bytes) - seen.begin());
    if (places.back() == std::ssize(seen)) seen.push_back(bytes);
  }
  EXPECT_EQ(places, (std::vector<std::ptrdiff_t>{0, 1, 2, 2, 2, 2, 3, 4, 5, 2, 2, 4, 2}));
  EXPECT_EQ(buffers.for_type(5'000).bytes, buffers.for_type(VL_DT_MultiMeasResult).bytes);
}

}  // namespace
}  // namespace kestrine::test
