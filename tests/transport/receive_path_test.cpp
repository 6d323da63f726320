// The rules of reading, one notification at a time, over a port that says exactly what it is told to.
#include "transport/receive_path.h"

#include <algorithm>
#include <deque>

#include "kestrine/text.h"
#include "stream_test.h"

namespace kestrine::test {
namespace {

constexpr int kWouldBlock = -1;
constexpr int kError = -2;
constexpr int kEnd = 0;

class FakePort final : public transport::ReceivePort {
 public:
  // Bytes that one read returns together.
  void feed(const Bytes& bytes) { steps_.push_back({bytes, 1, false}); }
  // Bytes that a peek sees and no read gets.
  void feed_peek(const Bytes& bytes) { steps_.push_back({bytes, 1, true}); }
  void feed(int outcome, int times = 1) {
    steps_.insert(steps_.end(), static_cast<std::size_t>(times), {{}, outcome, false});
  }

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

class ReceivePathTest : public ClientTest, private transport::PacketConsumer {
 protected:
  ReceivePathTest() {
    make();
    generation.slots.dispatcher = this;
    connection->socket = 1'000'000;  // only looked at for being none or some
  }
  ~ReceivePathTest() override { connection->socket = 0; }

  bool read() { return path.on_readable(*connection, port); }
  Bytes received() const {
    return {connection->received_packet, connection->received_packet + connection->received_length};
  }

  FakePort port;
  transport::ReceivePath path;
  std::vector<Bytes> packets;
  std::int32_t capacity = 0;

 private:
  void DispatchPacket(transport::CLTConnectBase&, const std::uint8_t* bytes, std::int32_t room,
                      std::int32_t count) override {
    packets.emplace_back(bytes, bytes + count);
    capacity = room;
  }
};

TEST_F(ReceivePathTest, AWholePacketTakesOnePeekAndOneRead) {
  const Bytes sent = filled(16, VL_DT_Command);
  port.feed(sent);
  EXPECT_TRUE(read());
  EXPECT_EQ(packets, std::vector<Bytes>{sent});
  EXPECT_EQ(capacity, 131'072);
  EXPECT_EQ(port.peeks, std::vector{8});
  EXPECT_EQ(port.reads, std::vector{16});
  EXPECT_EQ(port.signs, Lines());
  EXPECT_EQ(received(), sent);
}

TEST_F(ReceivePathTest, OnePacketIsReadForOneNotification) {
  port.feed(filled(16, VL_DT_Command) + filled(36, VL_DT_ReflectorPosResult));
  EXPECT_TRUE(read());
  EXPECT_EQ(packets.size(), 1u);
  EXPECT_TRUE(read());
  EXPECT_EQ(packets.size(), 2u);
  EXPECT_EQ(capacity, 1'024);
}

TEST_F(ReceivePathTest, AHeaderInTwoPiecesSurvivesWhereverItIsCut) {
  const Bytes sent = filled(36, VL_DT_ReflectorPosResult);
  for (std::size_t at = 1; at < 8; ++at) {
    port = {};
    const auto [first, rest] = cut(sent, at);
    port.feed(first);
    EXPECT_TRUE(read());
    EXPECT_TRUE(port.dry()) << "a fragment left in the socket could keep the peer from sending the rest";
    EXPECT_EQ(port.signs, at == 4 ? Lines() : Lines({kSocketBeep, kRecv6})) << at;
    port.feed(rest);
    EXPECT_TRUE(read());
    EXPECT_EQ(received(), sent) << at;
    EXPECT_EQ(packets.size(), at);
    const int left = static_cast<int>(8 - at);
    EXPECT_EQ(port.peeks, (std::vector{8, left}));
    EXPECT_EQ(port.reads, (std::vector{static_cast<int>(at), left + 28}));
  }
}

TEST_F(ReceivePathTest, AHeaderInThreePiecesIsLostWithTheStream) {
  const Bytes sent = filled(16, VL_DT_Command);
  const auto [first, rest] = cut(sent, 2);
  const auto [second, third] = cut(rest, 2);
  for (const Bytes& piece : {first, second}) {
    port.feed(piece);
    EXPECT_TRUE(read());
  }
  port.signs.clear();
  port.feed(third);
  EXPECT_FALSE(read());
  EXPECT_EQ(port.signs, kDiscarded);
  EXPECT_TRUE(packets.empty());
  EXPECT_TRUE(port.dry());
  port.feed(sent);
  EXPECT_TRUE(read());
  EXPECT_EQ(packets, std::vector<Bytes>{sent});
}

TEST_F(ReceivePathTest, TheThirtiethPeekWithoutAHeaderGivesUp) {
  engine().MarkAnswerPending(7, true);
  for (int i = 1; i < 30; ++i) EXPECT_TRUE(read());
  EXPECT_EQ(port.signs, Lines());
  EXPECT_EQ(port.naps, 29);
  EXPECT_TRUE(engine().IsAnswerPending());
  EXPECT_FALSE(read());
  EXPECT_EQ(port.signs, Lines({kRecv2, kRecv4, kDiscardBeep}));
  EXPECT_FALSE(engine().IsAnswerPending());
  port.signs.clear();
  for (int i = 1; i < 30; ++i) EXPECT_TRUE(read());
  EXPECT_EQ(port.signs, Lines()) << "counting starts again";
}

TEST_F(ReceivePathTest, AWholeHeaderEndsTheCountOfPeeks) {
  for (int round = 0; round < 3; ++round) {
    for (int i = 1; i < 30; ++i) EXPECT_TRUE(read());
    port.feed(filled(16, VL_DT_Command));
    EXPECT_TRUE(read());
  }
  EXPECT_EQ(packets.size(), 3u);
  EXPECT_EQ(port.signs, Lines());
}

TEST_F(ReceivePathTest, TheFragmentHeldByTheLastPeekIsDroppedWithTheRest) {
  for (int i = 1; i < 30; ++i) EXPECT_TRUE(read());
  port.feed(Bytes{16, 0, 0, 0});
  EXPECT_FALSE(read());
  port.feed(filled(16, VL_DT_Command));
  EXPECT_TRUE(read());
  EXPECT_EQ(packets.size(), 1u);
}

TEST_F(ReceivePathTest, AnErrorOnThePeekIsToldOnlyOfAnOpenConnection) {
  for (const bool open : {true, false}) {
    port = {};
    connection->socket = open ? 5 : 0;
    port.feed(kError);
    EXPECT_TRUE(read());
    EXPECT_EQ(port.signs, open ? Lines({kSocketBeep, kRecv1}) : Lines());
    EXPECT_EQ(port.naps, 1);
  }
}

TEST_F(ReceivePathTest, AnEndOnThePeekIsNoSignOfTrouble) {
  port.feed(kEnd);
  EXPECT_TRUE(read());
  EXPECT_EQ(port.signs, Lines());
  EXPECT_EQ(port.naps, 0);
}

TEST_F(ReceivePathTest, WaitingForTheRestOfAPacketIsNotCounted) {
  const auto [first, rest] = cut(filled(36, VL_DT_ReflectorPosResult), 20);
  port.feed(first);
  port.feed(kWouldBlock, 5'000);
  port.feed(rest);
  EXPECT_TRUE(read());
  EXPECT_EQ(packets.size(), 1u);
  EXPECT_EQ(port.naps, 5'000);
  EXPECT_EQ(port.signs, Lines());
}

TEST_F(ReceivePathTest, APacketMayTakeSixtyFourReadsAndNoMore) {
  for (const int pieces : {64, 65}) {
    port = {};
    packets.clear();
    const Bytes sent = filled(7 + pieces, VL_DT_MultiMeasResult);
    const auto [head, tail] = cut(sent, 8);  // the peek wants the header in one piece
    port.feed(head);
    for (const std::uint8_t byte : tail) port.feed(Bytes{byte});
    EXPECT_EQ(read(), pieces == 64);
    EXPECT_EQ(packets.size(), pieces == 64 ? 1u : 0u);
    EXPECT_EQ(port.signs, pieces == 64 ? Lines() : kDiscarded) << "even when the last read brought the end";
    EXPECT_EQ(received(), sent);
  }
}

TEST_F(ReceivePathTest, ReadErrorsCountAndLeaveWhatWasReadBeforeThem) {
  const Bytes sent = filled(16, VL_DT_Command);
  const auto [header, body] = cut(sent, 8);
  const auto [size, type] = cut(header, 4);
  const auto [most, rest] = cut(sent, 12);
  struct Row {
    std::size_t held;  // bytes of the header that came before
    Bytes before;      // read before the errors
    int errors;
    Bytes after;
    bool in_step;
    std::size_t packets;
    Bytes left;  // what GetData would return
  };
  const Row rows[] = {
      {0, {}, 63, sent, true, 1, sent},
      {0, {}, 64, sent, true, 0, {}},  // nothing was read before the last attempt:
                                       // nothing is kept of it
      {0, {}, 65, {}, true, 0, {}},
      {4, {}, 65, {}, false, 0, size},
      {0, most, 62, rest, true, 1, sent},
      {0, most, 64, {}, false, 0, most},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.held << " held, " << row.before.size() << " read, " << row.errors);
    port = {};
    packets.clear();
    connection->received_length = 0;
    if (row.held != 0) {
      port.feed(size);
      EXPECT_TRUE(read());
    }
    if (row.before.empty()) {
      port.feed_peek(row.held == 0 ? header : type);
    } else {
      port.feed(row.before);
    }
    port.feed(kError, row.errors);
    if (!row.after.empty()) port.feed(row.after);
    EXPECT_EQ(read(), row.in_step);
    EXPECT_EQ(packets.size(), row.packets);
    EXPECT_EQ(received(), row.left);
    EXPECT_EQ(std::count(port.signs.begin(), port.signs.end(), kRecv3), row.errors);
    EXPECT_EQ(std::count(port.signs.begin(), port.signs.end(), kSocketBeep), row.errors);
    EXPECT_EQ(std::count(port.signs.begin(), port.signs.end(), kRecv4), row.in_step ? 0 : 1);
  }
}

TEST_F(ReceivePathTest, APeerThatLeavesInMidPacketIsGivenUp) {
  const Bytes sent = filled(36, VL_DT_ReflectorPosResult);
  const Bytes most(sent.begin(), sent.begin() + 20);
  engine().MarkAnswerPending(7, true);
  port.feed(most);
  port.feed(kEnd, 10'000);
  EXPECT_FALSE(read());
  EXPECT_TRUE(packets.empty());
  EXPECT_EQ(received(), most);
  EXPECT_EQ(port.signs, kDiscarded);
  EXPECT_LT(port.naps, 100);
  EXPECT_FALSE(engine().IsAnswerPending());
}

TEST_F(ReceivePathTest, ABadHeaderThrowsAwayWhatCanBeRead) {
  struct Row {
    std::int32_t size;
    std::int32_t type;
    bool valid;
  };
  const Row rows[] = {
      {7, VL_DT_Command, false},
      {0, VL_DT_Command, false},
      {-1, VL_DT_Command, false},
      {8, VL_DT_Command, true},
      {131'071, VL_DT_Command, true},
      {131'072, VL_DT_Command, false},
      {131'071, VL_DT_MultiMeasResult, true},
      {131'072, VL_DT_MultiMeasResult, false},
      {131'071, 1'000, true},  // the dispatcher's to refuse
      {131'072, 12, false},
      {1'023, VL_DT_Error, true},
      {1'024, VL_DT_Error, false},
      {1'023, VL_DT_TiltraResult, true},
      {1'024, VL_DT_TiltraResult, false},
      {1'023, VL_DT_ReflectorPosResult, true},
      {1'024, VL_DT_ReflectorPosResult, false},
      {1'023, VL_DT_ProbePosResult, true},
      {1'024, VL_DT_ProbePosResult, false},
      {1'023, VL_DT_SystemStatusChange, true},
      {1'024, VL_DT_SystemStatusChange, false},
      {16, -1, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.size << " bytes of type " << row.type);
    port = {};
    packets.clear();
    connection->received_length = 0;
    engine().MarkAnswerPending(7, true);
    Bytes bytes = filled(std::max(row.size, 16), row.type);
    put_i32(bytes, 0, row.size);
    if (row.valid) bytes.resize(static_cast<std::size_t>(row.size));
    port.feed(bytes);
    EXPECT_EQ(read(), row.valid);
    EXPECT_TRUE(port.dry());
    EXPECT_EQ(packets.size(), row.valid ? 1u : 0u);
    EXPECT_EQ(connection->received_length, row.valid ? row.size : 0);
    EXPECT_EQ(engine().IsAnswerPending(), row.valid);
    EXPECT_EQ(port.signs, row.valid ? Lines() : kDiscarded);
  }
}

TEST_F(ReceivePathTest, TheStreamOutOfStepReleasesAnyCurrentCall) {
  connection->sync_present = false;
  connection->notification.method = KR_NM_None;
  engine().MarkAnswerPending(7, true);
  port.feed(filled(16, -5));
  EXPECT_FALSE(read());
  EXPECT_FALSE(engine().IsAnswerPending());
}

TEST_F(ReceivePathTest, ThrowingAwayStopsAfterOneHundredAndTwentyEightReads) {
  port.feed_peek(filled(8, -1));
  port.endless = true;
  EXPECT_FALSE(read());
  EXPECT_EQ(port.reads.size(), 128u);
  EXPECT_EQ(port.reads.front(), 131'072);

  // The reads made for the packet itself count along.
  port = {};
  port.feed(cut(filled(36, VL_DT_ReflectorPosResult), 20).first);
  port.feed(kError, 64);
  port.endless = true;
  EXPECT_FALSE(read());
  EXPECT_EQ(port.reads.size(), 128u);
  EXPECT_EQ(port.reads.back(), 1'024);
}

TEST_F(ReceivePathTest, ANotificationThatIsNoneReadsNothing) {
  engine().MarkAnswerPending(7, true);
  port.feed(filled(16, VL_DT_Command));
  EXPECT_FALSE(path.on_unknown_event(*connection, port));
  EXPECT_EQ(port.reads, std::vector{0});
  EXPECT_EQ(port.signs, kDiscarded);
  EXPECT_FALSE(engine().IsAnswerPending());
}

}  // namespace
}  // namespace kestrine::test
