// The rules of reading, one notification at a time, from a source that says exactly what it is told to.
#include "connection/packet_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <string>

#include "kestrine/text.h"
#include "scripted_peer.h"

namespace kestrine::test {
namespace {

using Lines = std::vector<std::string>;

constexpr int kWouldBlock = -1;
constexpr int kError = -2;
constexpr int kEnd = 0;

class FakeSource final : public connection::ByteSource {
 public:
  // Bytes that one read returns together.
  void feed(const Bytes& bytes) { steps_.push_back({bytes, 1, false}); }
  // Bytes that a peek sees and no read gets.
  void feed_peek(const Bytes& bytes) { steps_.push_back({bytes, 1, true}); }
  void feed(int outcome, int times = 1) {
    steps_.insert(steps_.end(), static_cast<std::size_t>(times), {{}, outcome, false});
  }

  bool is_open() const override { return open; }
  int receive(void* into, int bytes, bool peek) override {
    (peek ? peeks : reads).push_back(bytes);
    if (steps_.empty()) {
      last_outcome_ = kWouldBlock;
      return endless ? std::min(bytes, 1) : -1;
    }
    Step& step = steps_.front();
    last_outcome_ = step.outcome;
    const auto count = std::min(step.bytes.size(), static_cast<std::size_t>(bytes));
    std::copy_n(step.bytes.begin(), count, static_cast<std::uint8_t*>(into));
    if (step.peek_only || !peek) {
      step.bytes.erase(step.bytes.begin(), step.bytes.begin() + static_cast<std::ptrdiff_t>(count));
    }
    if (step.bytes.empty()) steps_.pop_front();
    return last_outcome_ < 0 ? -1 : static_cast<int>(count);
  }
  bool would_block() const override { return last_outcome_ == kWouldBlock; }
  void nap() override { ++naps; }
  void beep(std::uint32_t hertz, std::uint32_t milliseconds) override {
    signs.push_back("beep " + std::to_string(hertz) + " " + std::to_string(milliseconds));
  }
  void trace(std::u16string_view key, std::u16string_view text) override {
    signs.push_back(to_utf8(key) + " " + to_utf8(text));
  }
  bool dry() const { return steps_.empty(); }

  std::vector<int> peeks;
  std::vector<int> reads;
  int naps = 0;
  bool open = true;
  bool endless = false;  // a byte for every read once the steps are over
  Lines signs;

 private:
  struct Step {
    Bytes bytes;
    int outcome;
    bool peek_only;
  };

  std::deque<Step> steps_;
  int last_outcome_ = kWouldBlock;
};

const std::string kRecv1 = "recv1 not able to get header (peek)";
const std::string kRecv2 = "recv2 gave up after 30 retries (peek)";
const std::string kRecv3 = "recv3 unknown socket reading error";
const std::string kRecv4 = "recv4 unknown socket reading error";
const std::string kRecv6 = "recv6 unecpected packet boundary (peek)";
const std::string kSocketBeep = "beep 1000 200";
const std::string kDiscardBeep = "beep 250 10";
const Lines kDiscarded = {kRecv4, kDiscardBeep};

class PacketReaderTest : public testing::Test, private connection::PacketConsumer {
 protected:
  bool read() { return reader.on_readable(buffers); }
  void read_without_a_header(int times) {
    for (int i = 0; i < times; ++i) EXPECT_TRUE(read());
  }
  // Reads once: whether the stream stays in step, what packets there are by now, and what is kept of the latest.
  void expect_read(bool in_step, const std::vector<Bytes>& all, const Bytes& kept) {
    EXPECT_EQ(read(), in_step);
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
  source.feed(first + second);
  expect_read(true, {first}, first);
  expect_read(true, {first, second}, second);
  EXPECT_EQ(source.peeks, (std::vector{8, 8}));
  EXPECT_EQ(source.reads, (std::vector{16, 36}));
  EXPECT_EQ(source.signs, Lines());
}

TEST_F(PacketReaderTest, AHeaderInTwoPiecesSurvivesWhereverItIsCut) {
  const Bytes sent = filled(36, VL_DT_ReflectorPosResult);
  for (std::size_t at = 1; at < 8; ++at) {
    SCOPED_TRACE(at);
    start_over();
    const auto [first, rest] = cut(sent, at);
    source.feed(first);
    EXPECT_TRUE(read());
    EXPECT_TRUE(source.dry()) << "a fragment left in the socket could keep the peer from sending the rest";
    EXPECT_EQ(source.signs, at == 4 ? Lines() : Lines({kSocketBeep, kRecv6}));
    source.feed(rest);
    expect_read(true, {sent}, sent);
    const int left = static_cast<int>(8 - at);
    EXPECT_EQ(source.peeks, (std::vector{8, left}));
    EXPECT_EQ(source.reads, (std::vector{static_cast<int>(at), left + 28}));
  }
}

TEST_F(PacketReaderTest, AHeaderInThreePiecesIsLostWithTheStreamAndANewStreamBeginsAnew) {
  const Bytes sent = filled(16, VL_DT_Command);
  for (const bool restarts : {false, true}) {
    start_over();
    const auto [first, rest] = cut(sent, 2);
    source.feed(first);
    EXPECT_TRUE(read());
    if (restarts) {
      read_without_a_header(28);
      reader.restart();
      read_without_a_header(29);
    } else {
      for (const Bytes& piece : {cut(rest, 2).first, cut(rest, 2).second}) {
        source.signs.clear();
        source.feed(piece);
        EXPECT_EQ(read(), piece.size() == 2);
      }
      EXPECT_EQ(source.signs, kDiscarded);
      EXPECT_TRUE(packets.empty() && source.dry());
    }
    source.feed(sent);
    EXPECT_TRUE(read());
    EXPECT_EQ(packets, std::vector<Bytes>{sent});
  }
}

TEST_F(PacketReaderTest, TheThirtiethPeekWithoutAHeaderGivesUp) {
  for (int round = 0; round < 2; ++round) {
    start_over();
    read_without_a_header(29);
    EXPECT_EQ(source.signs, Lines()) << "counting starts again";
    EXPECT_EQ(source.naps, 29);
    EXPECT_EQ(out_of_step, 0);
    EXPECT_FALSE(read());
    EXPECT_EQ(source.signs, Lines({kRecv2, kRecv4, kDiscardBeep}));
    EXPECT_EQ(out_of_step, 1);
  }
  start_over();
  read_without_a_header(29);
  source.feed(Bytes{16, 0, 0, 0});
  EXPECT_FALSE(read()) << "what the last peek holds is dropped with the rest";
  source.feed(filled(16, VL_DT_Command));
  EXPECT_TRUE(read());
  EXPECT_EQ(packets.size(), 1u);
  read_without_a_header(29);  // a whole header has ended the count
}

TEST_F(PacketReaderTest, APeekThatFailsIsASignOfTroubleOnlyOnAnOpenConnection) {
  const struct {
    int outcome;
    bool open;
    Lines signs;
    int naps;
  } rows[] = {{kError, true, {kSocketBeep, kRecv1}, 1}, {kError, false, {}, 1}, {kEnd, true, {}, 0}};
  for (const auto& row : rows) {
    start_over();
    source.open = row.open;
    source.feed(row.outcome);
    EXPECT_TRUE(read());
    EXPECT_EQ(source.signs, row.signs);
    EXPECT_EQ(source.naps, row.naps);
  }
}

TEST_F(PacketReaderTest, APacketMayTakeSixtyFourReadsAndNoMore) {
  for (const int pieces : {64, 65}) {
    start_over();
    const Bytes sent = filled(7 + pieces, VL_DT_MultiMeasResult);
    const auto [head, tail] = cut(sent, 8);  // the peek wants the header in one piece
    source.feed(head);
    for (const std::uint8_t byte : tail) source.feed(Bytes{byte});
    const bool few_enough = pieces == 64;  // even when the last read brings the end
    expect_read(few_enough, std::vector<Bytes>(few_enough ? 1 : 0, sent), sent);
  }
}

TEST_F(PacketReaderTest, ReadErrorsCountAndLeaveWhatWasReadBeforeThem) {
  const Bytes sent = filled(16, VL_DT_Command);
  const auto [size, type] = cut(cut(sent, 8).first, 4);
  const auto [most, rest] = cut(sent, 12);
  const struct {
    Bytes held;    // of the header, from the notification before
    Bytes peeked;  // and not read
    Bytes before;
    int errors;
    Bytes after;
    bool in_step;
    std::vector<Bytes> packets;
    Bytes left;
  } rows[] = {
      {{}, size + type, {}, 63, sent, true, {sent}, sent},
      {{}, size + type, {}, 64, sent, true, {}, {}},  // nothing was read before the last attempt, and nothing is kept
      {{}, size + type, {}, 65, {}, true, {}, {}},
      {size, type, {}, 65, {}, false, {}, size},
      {{}, {}, most, 62, rest, true, {sent}, sent},
      {{}, {}, most, 64, {}, false, {}, most},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    start_over();
    if (!row.held.empty()) {
      source.feed(row.held);
      EXPECT_TRUE(read());
    }
    if (!row.peeked.empty()) source.feed_peek(row.peeked);
    if (!row.before.empty()) source.feed(row.before);
    source.feed(kError, row.errors);
    if (!row.after.empty()) source.feed(row.after);
    expect_read(row.in_step, row.packets, row.left);
    EXPECT_EQ(std::ranges::count(source.signs, kRecv3), row.errors);
    EXPECT_EQ(std::ranges::count(source.signs, kSocketBeep), row.errors);
  }
}

TEST_F(PacketReaderTest, APeerThatLeavesInMidPacketIsGivenUp) {
  const Bytes most = cut(filled(36, VL_DT_ReflectorPosResult), 20).first;
  source.feed(most);
  source.feed(kWouldBlock, 5'000);  // waiting is not counted
  source.feed(kEnd, 10'000);
  expect_read(false, {}, most);
  EXPECT_TRUE(source.naps >= 5'000 && source.naps < 5'100) << source.naps;
}

TEST_F(PacketReaderTest, AHeaderIsBadWhenItsPacketDoesNotFitTheBufferOfItsType) {
  struct Row {
    std::int32_t size;
    std::int32_t type;
    bool valid;
  };
  const auto is_small = [](std::int32_t type) {
    return type == VL_DT_Error || type == VL_DT_TiltraResult || type == VL_DT_ReflectorPosResult ||
           type == VL_DT_ProbePosResult || type == VL_DT_SystemStatusChange;
  };
  std::vector<Row> rows = {{7, VL_DT_Command, false}, {0, VL_DT_Command, false}, {-1, VL_DT_Command, false},
                           {8, VL_DT_Command, true},  {16, -1, false},           {131'071, 1'000, true}};
  for (std::int32_t type = VL_DT_Command; type <= VL_DT_ProbePosResult + 1; ++type) {
    const std::int32_t room = is_small(type) ? 1'024 : 131'072;
    rows.insert(rows.end(), {{room - 1, type, true}, {room, type, false}});
  }
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.size << " bytes of type " << row.type);
    start_over();
    Bytes bytes = filled(std::max(row.size, 16), row.type);
    put_i32(bytes, 0, row.size);
    if (row.valid) bytes.resize(static_cast<std::size_t>(row.size));
    source.feed(bytes);
    expect_read(row.valid, std::vector<Bytes>(row.valid ? 1 : 0, bytes), row.valid ? bytes : Bytes());
    EXPECT_TRUE(source.dry());
    if (row.valid) {
      EXPECT_EQ(capacity, is_small(row.type) ? 1'024 : 131'072);
    }
  }
}

TEST_F(PacketReaderTest, ThrowingAwayStopsAfterOneHundredAndTwentyEightReadsThoseForThePacketCounted) {
  const struct {
    Bytes before;
    int errors;
    int room;
  } rows[] = {{filled(8, -1), 0, 131'072}, {cut(filled(36, VL_DT_ReflectorPosResult), 20).first, 64, 1'024}};
  for (const auto& row : rows) {
    start_over();
    row.errors == 0 ? source.feed_peek(row.before) : source.feed(row.before);
    source.feed(kError, row.errors);
    source.endless = true;
    EXPECT_FALSE(read());
    EXPECT_EQ(source.reads.size(), 128u);
    EXPECT_EQ(source.reads.back(), row.room);
  }
}

TEST_F(PacketReaderTest, ANotificationThatIsNoneReadsNothing) {
  source.feed(filled(16, VL_DT_Command));
  EXPECT_FALSE(reader.on_unknown_event());
  EXPECT_EQ(source.reads, std::vector{0});
  EXPECT_EQ(source.signs, kDiscarded);
  EXPECT_EQ(out_of_step, 1);
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
